#ifndef KA_TESTS_SOAK_TREND_H
#define KA_TESTS_SOAK_TREND_H

#include <vector>

namespace soak {

/// A figure at a time.
struct Sample {
  double Seconds = 0;
  double Value = 0;
};

/// Slope of the straight line that fits the samples best (least squares), per hour. 0 when there
/// are fewer than two different times.
double SlopePerHour(const std::vector<Sample>& samples);

}  // namespace soak

#endif
