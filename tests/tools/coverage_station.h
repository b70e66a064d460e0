#ifndef KA_TESTS_TOOLS_COVERAGE_STATION_H
#define KA_TESTS_TOOLS_COVERAGE_STATION_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"

namespace toolstest {

/// A station with a small document whose coverage by a few blocks is counted by hand in the tests.
class CoverageStation : public ::testing::Test {
 protected:
  CoverageStation() {
    const std::filesystem::path fixture = Project() / "tests/tools/fixtures/coverage";
    station.Write("announcements/station.xml",
                  support::ReadFile((fixture / "station.xml").string()));
    station.Write("lexidata/de/stations", support::ReadFile((fixture / "stations").string()));
    blocks = (fixture / "blocks").string();
  }

  Ended Coverage(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"coverage", "--station", station.Dir()});
    return RunTool(arguments);
  }

  DemoStation station;
  std::string blocks;
};

}  // namespace toolstest

#endif
