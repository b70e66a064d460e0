#ifndef KA_TESTS_SERVER_PORT_LEASE_H
#define KA_TESTS_SERVER_PORT_LEASE_H

#include <cstdint>

#include "kaDescriptor.h"

namespace servertest {

/// A TCP port that nobody uses. While it lives no other test gets the same one: two servers would
/// share a port without noticing.
class PortLease {
 public:
  PortLease();
  unsigned Number() const { return number_; }

 private:
  unsigned number_ = 0;
  kaDescriptor lease_;
};

/// Occupies `port` on all addresses without letting anybody share it. Invalid if it is taken.
kaDescriptor OccupyPort(unsigned port);

}  // namespace servertest

#endif
