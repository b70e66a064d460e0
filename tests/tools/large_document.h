#ifndef KA_TESTS_TOOLS_LARGE_DOCUMENT_H
#define KA_TESTS_TOOLS_LARGE_DOCUMENT_H

#include <cstddef>
#include <string>

namespace toolstest {

/// An announcement document without a mistake, in two languages, that has about `count` of
/// everything: elements, attributes, tests, combinations that refer to each other in a chain, and
/// phrases in each language. 3,000 make a megabyte.
std::string LargeDocument(std::size_t count);

}  // namespace toolstest

#endif
