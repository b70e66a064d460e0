#ifndef KA_ON_EXCEPTION_H
#define KA_ON_EXCEPTION_H

#include <exception>
#include <utility>

/// Runs an action when an exception leaves its scope, and nothing otherwise: what a message had
/// taken is given back when memory ends in the middle of it. The action must neither throw nor need
/// memory.
template <class Action>
class kaOnException {
 public:
  explicit kaOnException(Action action)
      : Run(std::move(action)), ExceptionsBefore(std::uncaught_exceptions()) {}
  ~kaOnException() {
    if (std::uncaught_exceptions() > ExceptionsBefore) Run();
  }
  kaOnException(const kaOnException&) = delete;
  kaOnException& operator=(const kaOnException&) = delete;

 private:
  Action Run;
  int ExceptionsBefore;
};

#endif
