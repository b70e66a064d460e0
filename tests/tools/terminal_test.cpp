#include "common/terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "kaDescriptor.h"

namespace tools {

namespace {

// The tests have one thread.
// NOLINTBEGIN(concurrency-mt-unsafe)

/// A terminal, and an environment that allows colours on it.
class UsesColorOn : public ::testing::Test {
 protected:
  UsesColorOn() {
    unsetenv("NO_COLOR");
    setenv("TERM", "xterm", 1);
    grantpt(master.Get());
    unlockpt(master.Get());
    terminal = OpenFile(ptsname(master.Get()), O_RDWR | O_NOCTTY);
  }

  kaDescriptor master{posix_openpt(O_RDWR | O_NOCTTY)};
  kaDescriptor terminal;
  kaDescriptor file = OpenFile("/dev/null", O_WRONLY);
};

TEST_F(UsesColorOn, TerminalButNotOnAFile) {
  ASSERT_TRUE(terminal.IsValid());
  EXPECT_TRUE(UsesColor(ColorMode::Auto, terminal.Get()));
  EXPECT_FALSE(UsesColor(ColorMode::Auto, file.Get()));
}

TEST_F(UsesColorOn, TerminalUnlessNoColorIsSet) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(UsesColor(ColorMode::Auto, terminal.Get()));
  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(UsesColor(ColorMode::Auto, terminal.Get())) << "empty is as if it were not set";
}

TEST_F(UsesColorOn, TerminalUnlessItIsADumbOne) {
  setenv("TERM", "dumb", 1);
  EXPECT_FALSE(UsesColor(ColorMode::Auto, terminal.Get()));
}

TEST_F(UsesColorOn, WhatTheOptionSaysInAnyCase) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_TRUE(UsesColor(ColorMode::Always, file.Get()));
  unsetenv("NO_COLOR");
  EXPECT_FALSE(UsesColor(ColorMode::Never, terminal.Get()));
}

// NOLINTEND(concurrency-mt-unsafe)

TEST(Painted, IsTheTextItselfWithoutColour) {
  EXPECT_EQ(Painted("x", Color::Red, false), "x");
  EXPECT_EQ(Painted("x", Color::Green, true), "\x1b[32mx\x1b[0m");
}

}  // namespace

}  // namespace tools
