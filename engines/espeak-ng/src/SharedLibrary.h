#ifndef KA_ENGINE_SHARED_LIBRARY_H
#define KA_ENGINE_SHARED_LIBRARY_H

#include <stdexcept>
#include <string>

namespace engine {

/// A shared library that is loaded when it is needed first, not when the program starts: most
/// texts have no audio file, and libsndfile with all its codecs takes longer to load than a short
/// text to speak. Once loaded it stays until the program ends.
class SharedLibrary {
 public:
  /// The library or one of its functions is missing; what() names it.
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  /// `name` is what the dynamic linker looks for, e.g. "libsndfile.so.1". Throws Error.
  explicit SharedLibrary(const std::string& name);

  /// The address of a function, whose type the caller takes from the library's own header:
  /// `Function<decltype(sf_close)>("sf_close")`. Throws Error.
  template <typename Type>
  Type* Function(const char* name) const {
    return reinterpret_cast<Type*>(Address(name));
  }

 private:
  void* Address(const char* name) const;

  void* handle_;
};

}  // namespace engine

#endif
