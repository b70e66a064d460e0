#ifndef KA_TESTS_SUPPORT_LOOPBACK_H
#define KA_TESTS_SUPPORT_LOOPBACK_H

#include <netinet/in.h>

#include <string>
#include <string_view>
#include <vector>

#include "kaDescriptor.h"

namespace support {

/// `port` of this machine.
sockaddr_in LoopbackAddress(unsigned port);

/// Different ports that nobody uses at the moment.
std::vector<unsigned> FreePorts(std::size_t count);
unsigned FreePort();

/// Occupies a port without allowing anybody to share it, as other programs do.
class PortBlocker {
 public:
  PortBlocker();
  unsigned Port() const { return port_; }

 private:
  kaDescriptor socket_;
  unsigned port_ = 0;
};

/// One connection to a port of this machine. Failures throw.
class Client {
 public:
  /// Connects; waits for the port to be opened.
  /// \param maxSegment limits the segments of the connection; 0 for the usual size
  explicit Client(unsigned port, int maxSegment = 0);

  void Send(std::string_view text) const;
  /// Tells the server that nothing more will come.
  void EndSending() const;
  /// Whether all that was sent lies in the server's queue or was read.
  bool IsDelivered() const;
  /// Whether something of an answer, or the end of the connection, is there.
  bool HasAnswer() const;
  /// Everything up to the end of the connection; throws when it was reset.
  std::string ReceiveAll() const;
  /// Vanishes: the server's end is reset.
  void Vanish();

  /// Largest payload of one segment.
  std::size_t SegmentSize() const;
  unsigned LocalPort() const;

 private:
  kaDescriptor socket_;
};

/// Sends `text` on a connection of its own and gives back all of the answer.
std::string Exchange(unsigned port, std::string_view text);

}  // namespace support

#endif
