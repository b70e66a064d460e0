#ifndef KA_TESTS_SUPPORT_END_CHILD_H
#define KA_TESTS_SUPPORT_END_CHILD_H

namespace support {

/// Ends a child process of a test at once, without destructors and exit handlers. On a build that
/// counts what is executed, the child's counts are kept.
[[noreturn]] void EndChild(int status);

}  // namespace support

#endif
