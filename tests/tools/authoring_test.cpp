// docs/authoring.md, done step by step from an empty document to a tested station.

#include <gtest/gtest.h>

#include <filesystem>

#include "demo_station.h"
#include "page_commands.h"
#include "program.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

TEST(AuthoringGuide, EveryCommandPrintsWhatIsShown) {
  const support::TempDir dir;
  const std::string station = dir.Sub("station");
  const fs::path build = fs::path(ToolPath()).parent_path().parent_path();
  PageCommands page("docs/authoring.md", dir.Path());
  page.Replace("/srv/station", station);
  page.Replace("./scripts/stage", "KA_PORTS= '" + (Project() / "scripts" / "stage").string() +
                                      "' --build '" + build.string() + "'");
  EXPECT_GE(page.ExpectWhatIsShown(), 35U);
  EXPECT_GT(fs::file_size(station + "/run/heard/de0.wav"), 44U);
  EXPECT_GT(fs::file_size(station + "/run/coverage.html"), 0U);
}

}  // namespace

}  // namespace toolstest
