#include "trend.h"

#include <gtest/gtest.h>

namespace soak {

namespace {

TEST(Trend, OfAStraightLineIsItsSlope) {
  EXPECT_NEAR(SlopePerHour({{0, 500}, {1800, 550}, {3600, 600}}), 100, 1e-9);
  EXPECT_NEAR(SlopePerHour({{120, 600}, {130, 590}, {140, 580}}), -3600, 1e-9);
}

TEST(Trend, OfAConstantIsZero) {
  EXPECT_EQ(SlopePerHour({{0, 7}, {10, 7}, {20, 7}}), 0);
}

// A step in the middle of an hour of samples counts one and a half times.
TEST(Trend, OfAStepLiesOnTheWholeTime) {
  std::vector<Sample> samples;
  for (int second = 0; second < 3600; ++second)
    samples.push_back({static_cast<double>(second), second < 1800 ? 0.0 : 8.0});
  EXPECT_NEAR(SlopePerHour(samples), 12, 0.1);
}

TEST(Trend, OfTooLittleIsZero) {
  EXPECT_EQ(SlopePerHour({}), 0);
  EXPECT_EQ(SlopePerHour({{5, 1}}), 0);
  EXPECT_EQ(SlopePerHour({{5, 1}, {5, 2}}), 0);
}

}  // namespace

}  // namespace soak
