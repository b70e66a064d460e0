#ifndef KA_TOOLS_VALUE_SEARCH_H
#define KA_TOOLS_VALUE_SEARCH_H

#include <optional>
#include <string>

#include "kaCases.h"

namespace tools {

/// A value of the attribute under test with which the server itself finds that the test holds, or
/// does not hold. None if no likely value does; an escape character is written as backslash-e.
/// \param number of a test on a value or its length in the server's list
/// \param mayBeEmpty false for an attribute without which the block is refused
std::optional<std::string> ValueFor(const CkaCases& cases, int number, bool holds, bool mayBeEmpty);

}  // namespace tools

#endif
