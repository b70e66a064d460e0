#ifndef KA_TESTS_UNIT_OUTPUT_OF_H
#define KA_TESTS_UNIT_OUTPUT_OF_H

#include <ostream>
#include <string>

#include "support/capture_output.h"

/// What an action printed, per stream.
struct Printed {
  std::string Out;
  std::string Err;

  bool operator==(const Printed&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const Printed& printed) {
  return stream << "stdout \"" << printed.Out << "\", stderr \"" << printed.Err << '"';
}

/// Runs `action` and returns what it printed. No assertion belongs inside: its message would be
/// captured, too.
template <class Action>
Printed OutputOf(const Action& action) {
  const support::CaptureOutput captured;
  action();
  return {captured.Out(), captured.Err()};
}

inline Printed Nothing() {
  return {"", ""};
}
inline Printed OnlyOut(const std::string& text) {
  return {text, ""};
}
inline Printed OnlyErr(const std::string& text) {
  return {"", text};
}

#endif
