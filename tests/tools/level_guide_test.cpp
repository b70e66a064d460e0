// Every command of docs/level.md, run as it is printed there, gives what is printed there.

#include <gtest/gtest.h>

#include <filesystem>

#include "demo_station.h"
#include "page_commands.h"
#include "program.h"

namespace toolstest {

namespace {

TEST(LevelGuide, EveryCommandPrintsWhatIsShown) {
  const DemoStation demo;
  PageCommands page("docs/level.md", demo.Dir());
  page.AddToPath(std::filesystem::path(ToolPath()).parent_path().string());
  EXPECT_GE(page.ExpectWhatIsShown(), 4U);
}

}  // namespace

}  // namespace toolstest
