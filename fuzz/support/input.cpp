#include "support/input.h"

#include <algorithm>

namespace fuzz {

Input::Input(const std::uint8_t* data, std::size_t size)
    : left_(reinterpret_cast<const char*>(data), size) {}

std::string Input::TakePart() {
  const std::size_t end = std::min(left_.find('\0'), left_.size());
  std::string part(left_.substr(0, end));
  left_.remove_prefix(std::min(end + 1, left_.size()));
  return part;
}

unsigned Input::TakeByte() {
  if (left_.empty()) return 0;
  const auto byte = static_cast<std::uint8_t>(left_.front());
  left_.remove_prefix(1);
  return byte;
}

std::string Input::Rest() const {
  return std::string(left_);
}

}  // namespace fuzz
