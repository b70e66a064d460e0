#ifndef KA_TESTS_SERVER_DEMO_STATION_H
#define KA_TESTS_SERVER_DEMO_STATION_H

#include <string>
#include <vector>

#include "server_fixture.h"

namespace servertest {

/// The demo station as it is shipped: configuration, catalogues, lexica, announcements and restart
/// script. The engine is the test's choice.
class DemoStation : public ServerTest {
 protected:
  DemoStation();

  /// Where the configuration expects the engine.
  std::string EnginePath() const { return stage().Dir() + "/engines/espeak-ng/ka-espeak-ng"; }
  std::string SoundsPath() const { return stage().Dir() + "/announcements/sounds"; }
  /// An engine that records its calls and leaves a file in which the text stands.
  void UseStubEngine();

  /// Names of the sample blocks, without ending.
  static std::vector<std::string> SampleBlocks();
  static std::string SampleBlock(const std::string& name);
  static std::string ExpectedTexts(const std::string& name);
};

}  // namespace servertest

#endif
