#include "trend.h"

namespace soak {

double SlopePerHour(const std::vector<Sample>& samples) {
  const auto count = static_cast<double>(samples.size());
  double meanTime = 0;
  double meanValue = 0;
  for (const Sample& sample : samples) {
    meanTime += sample.Seconds / count;
    meanValue += sample.Value / count;
  }
  double covariance = 0;
  double variance = 0;
  for (const Sample& sample : samples) {
    const double time = sample.Seconds - meanTime;
    covariance += time * (sample.Value - meanValue);
    variance += time * time;
  }
  return variance == 0 ? 0 : covariance / variance * 3600;
}

}  // namespace soak
