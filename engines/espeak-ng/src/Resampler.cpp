#include "Resampler.h"

#include <cstddef>
#include <string>

#include "SampleSink.h"

namespace engine {
namespace {

constexpr int kMono = 1;

// Stands for an empty input: without an address, the converter would keep what it holds back.
constexpr float kNothing = 0;

// Room for what the converter held back from earlier input. It is asked again until it has nothing
// more, so this is no limit.
constexpr std::size_t kSpareFrames = 4096;

[[noreturn]] void ThrowError(int error) {
  throw Resampler::Error(std::string("cannot be resampled: ") + src_strerror(error));
}

}  // namespace

Resampler::Resampler(int sourceRate) : ratio_(static_cast<double>(kSampleRate) / sourceRate) {
  if (sourceRate == kSampleRate) return;
  int error = 0;
  state_.reset(src_new(SRC_SINC_MEDIUM_QUALITY, kMono, &error));
  if (!state_) ThrowError(error);
}

std::span<const float> Resampler::Convert(std::span<const float> input, bool isLast) {
  if (!state_) return input;
  std::size_t produced = 0;
  bool isComplete = false;
  while (!isComplete) {
    output_.resize(produced + kSpareFrames +
                   static_cast<std::size_t>(static_cast<double>(input.size()) * ratio_));
    SRC_DATA data{};
    data.data_in = input.empty() ? &kNothing : input.data();
    data.input_frames = static_cast<long>(input.size());
    data.data_out = output_.data() + produced;
    data.output_frames = static_cast<long>(output_.size() - produced);
    data.src_ratio = ratio_;
    data.end_of_input = isLast ? 1 : 0;
    if (const int error = src_process(state_.get(), &data); error != 0) ThrowError(error);
    produced += static_cast<std::size_t>(data.output_frames_gen);
    input = input.subspan(static_cast<std::size_t>(data.input_frames_used));
    isComplete = input.empty() && data.output_frames_gen < data.output_frames;
  }
  return std::span<const float>(output_).first(produced);
}

}  // namespace engine
