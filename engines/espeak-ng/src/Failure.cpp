#include "Failure.h"

#include <system_error>

namespace engine {

std::string WithSystemError(const std::string& message, int errorNumber) {
  return message + ": " + std::generic_category().message(errorNumber);
}

}  // namespace engine
