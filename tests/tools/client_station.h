#ifndef KA_TESTS_TOOLS_CLIENT_STATION_H
#define KA_TESTS_TOOLS_CLIENT_STATION_H

#include "program.h"
#include "server/server_fixture.h"

namespace toolstest {

/// The real server, with stub engine and players, for the clients to talk to.
class ClientStation : public servertest::ServerTest {
 protected:
  /// How the stub player records a file of the play directory.
  std::string PlayCall(const std::string& name) const {
    return "aplay [" + stage().Play() + "/" + name + ".wav]";
  }
};

}  // namespace toolstest

#endif
