#ifndef KA_FUZZ_INPUT_H
#define KA_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

/// Takes an input apart. Parts end at a zero byte, which no text of a port can hold.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size);

  /// The bytes up to the next zero byte, which is dropped; all that is left if there is none.
  std::string TakePart();
  /// The next byte, 0 at the end.
  unsigned TakeByte();
  /// All that is left, zero bytes included.
  std::string Rest() const;

 private:
  std::string_view left_;
};

}  // namespace fuzz

#endif
