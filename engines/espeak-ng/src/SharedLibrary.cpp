#include "SharedLibrary.h"

#include <dlfcn.h>

namespace engine {
namespace {

[[noreturn]] void ThrowError() {
  throw SharedLibrary::Error(::dlerror());
}

}  // namespace

SharedLibrary::SharedLibrary(const std::string& name)
    : handle_(::dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL)) {
  if (handle_ == nullptr) ThrowError();
}

void* SharedLibrary::Address(const char* name) const {
  void* const address = ::dlsym(handle_, name);
  if (address == nullptr) ThrowError();
  return address;
}

}  // namespace engine
