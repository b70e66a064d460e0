#ifndef KA_FUZZ_EXPECT_H
#define KA_FUZZ_EXPECT_H

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Ends the process with a message; the fuzzer then keeps the input.
[[noreturn]] void Fail(std::string_view what);
[[noreturn]] void FailDifferent(std::string_view what, std::string_view got,
                                std::string_view expected);

/// What must hold for every input.
inline void Expect(std::string_view what, bool holds) {
  if (!holds) Fail(what);
}

inline void ExpectEqual(std::string_view what, std::string_view got, std::string_view expected) {
  if (got != expected) FailDifferent(what, got, expected);
}

template <std::integral T>
void ExpectEqual(std::string_view what, T got, T expected) {
  if (got != expected) FailDifferent(what, std::to_string(got), std::to_string(expected));
}

void ExpectEqual(std::string_view what, const std::vector<std::string>& got,
                 const std::vector<std::string>& expected);

}  // namespace fuzz

#endif
