#include "support/expect.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

std::string Lines(const std::vector<std::string>& items) {
  std::string lines;
  for (const std::string& item : items)
    lines += "[" + item + "]\n";
  return lines;
}

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace

void Fail(std::string_view what) {
  Print("EXPECTATION FAILED: ");
  Print(what);
  Print("\n");
  std::abort();
}

void FailDifferent(std::string_view what, std::string_view got, std::string_view expected) {
  Print("---- got\n");
  Print(got);
  Print("\n---- expected\n");
  Print(expected);
  Print("\n----\n");
  Fail(what);
}

void ExpectEqual(std::string_view what, const std::vector<std::string>& got,
                 const std::vector<std::string>& expected) {
  if (got != expected) FailDifferent(what, Lines(got), Lines(expected));
}

}  // namespace fuzz
