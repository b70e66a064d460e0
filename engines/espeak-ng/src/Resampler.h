#ifndef KA_ENGINE_RESAMPLER_H
#define KA_ENGINE_RESAMPLER_H

#include <samplerate.h>

#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

namespace engine {

/// Converts a mono signal to kSampleRate, piece by piece, with libsamplerate. The library is loaded
/// for the first signal of another rate.
class Resampler {
 public:
  /// The signal cannot be converted; what() says why.
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  /// Throws Error if there is no memory or no library.
  explicit Resampler(int sourceRate);

  /// The samples that `input` completes; with `isLast` everything that is still held back. Valid
  /// until the next call. Throws Error if the ratio of the rates is beyond 1:256.
  std::span<const float> Convert(std::span<const float> input, bool isLast);

 private:
  struct Deleter {
    void operator()(SRC_STATE* state) const;
  };

  double ratio_;
  std::unique_ptr<SRC_STATE, Deleter> state_;  // none if the rate is right already
  std::vector<float> output_;
};

}  // namespace engine

#endif
