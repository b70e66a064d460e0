#include "common/station.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/cannot_run.h"
#include "demo_station.h"
#include "ka-tts-server.h"
#include "kaShell.h"
#include "support/capture_output.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

TEST(Station, IsTheRootOfTheServersCode) {
  const toolstest::DemoStation demo;
  const Station station(demo.Dir() + "/run/../");
  EXPECT_EQ(station.Root(), fs::canonical(demo.Dir()).string());
  EXPECT_EQ(GlobalCWD, station.Root());
}

TEST(Station, KnowsItsPlaces) {
  const toolstest::DemoStation demo;
  const Station station(demo.Dir());
  EXPECT_EQ(station.Config(), station.Root() + "/kaconfig/kaTtsServer.kacfg");
  EXPECT_EQ(station.Messages(), station.Root() + "/messages");
  EXPECT_EQ(station.LexiconDir("de"), station.Root() + "/lexidata/de");
  EXPECT_EQ(station.Document(), demo.Sub("announcements/station.xml"));
  EXPECT_EQ(station.Resolve("./x"), station.Root() + "/x");
}

TEST(Station, PrintsNothing) {
  const toolstest::DemoStation demo;
  demo.Write("kaconfig/kaTtsServer.kacfg", "a=\"b\"\nfaulty\n");
  const support::CaptureOutput output;
  const Station station(demo.Dir());
  EXPECT_EQ(station.Value("a"), "b");
  EXPECT_EQ(station.Value("none"), "");
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_FALSE(station.ConfigReports().empty()) << "the faulty row is reported";
}

TEST(Station, StartsNothing) {
  const toolstest::DemoStation demo;
  const Station station(demo.Dir());
  RunShellCommand("touch " + demo.Sub("started"));
  EXPECT_FALSE(fs::exists(demo.Sub("started")));
}

TEST(Station, DirectoryWithoutConfigurationIsNone) {
  const support::TempDir empty;
  try {
    const Station station(empty.Path());
    FAIL();
  } catch (const CannotRun& failure) {
    EXPECT_NE(failure.Message(Language::English).find("/kaTtsServer.kacfg: does not exist"),
              std::string::npos);
    EXPECT_NE(failure.Message(Language::German).find("gibt es nicht"), std::string::npos);
  }
}

TEST(Station, WhatIsNoDirectoryIsNone) {
  const support::TempDir directory;
  EXPECT_THROW(Station(directory.Sub("none")), CannotRun);
  EXPECT_THROW(Station(directory.Write("file", "x")), CannotRun);
}

TEST(Read, GivesAllBytes) {
  const support::TempDir directory;
  const std::string bytes("a\0\r\nb", 5);
  EXPECT_EQ(Read(directory.Write("file", bytes)), bytes);
}

TEST(Read, WhatCannotBeReadIsAnError) {
  const support::TempDir directory;
  EXPECT_THROW(Read(directory.Sub("none")), CannotRun);
  EXPECT_THROW(Read(directory.Path()), CannotRun);
}

}  // namespace

}  // namespace tools
