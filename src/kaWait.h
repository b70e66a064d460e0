#ifndef KA_WAIT_H
#define KA_WAIT_H

#include <functional>

/// Waits while `isBlocked` answers true, asking every half second, for `seconds` of the wall clock
/// at most. \return the last answer
bool WaitWhileBlocked(int seconds, const std::function<bool()>& isBlocked);

#endif
