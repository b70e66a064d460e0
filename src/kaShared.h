#ifndef KA_SHARED_H
#define KA_SHARED_H

#include <atomic>

/// \file
/// Access to the few plain variables that two threads touch. Each access is one load or one store;
/// there is no lock and no compare-exchange, so a test and a later store stay two steps.

/// Reads a variable that another thread may write.
template <class T>
T LoadShared(const T& variable) {
  return std::atomic_ref<T>(const_cast<T&>(variable)).load();
}

/// Writes a variable that another thread may read.
template <class T>
void StoreShared(T& variable, T value) {
  std::atomic_ref<T>(variable).store(value);
}

#endif
