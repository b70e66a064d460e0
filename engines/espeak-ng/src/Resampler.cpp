#include "Resampler.h"

#include <cstddef>
#include <string>

#include "SampleSink.h"
#include "SharedLibrary.h"

namespace engine {
namespace {

constexpr int kMono = 1;

// Stands for an empty input: without an address, the converter would keep what it holds back.
constexpr float kNothing = 0;

// Room for what the converter held back from earlier input. It is asked again until it has nothing
// more, so this is no limit.
constexpr std::size_t kSpareFrames = 4096;

// libsamplerate's functions.
struct Samplerate {
  SharedLibrary library{"libsamplerate.so.0"};
  decltype(src_new)* create = library.Function<decltype(src_new)>("src_new");
  decltype(src_delete)* destroy = library.Function<decltype(src_delete)>("src_delete");
  decltype(src_process)* process = library.Function<decltype(src_process)>("src_process");
  decltype(src_strerror)* strerror = library.Function<decltype(src_strerror)>("src_strerror");
};

const Samplerate& LoadedSamplerate() try {
  static const Samplerate functions;
  return functions;
} catch (const SharedLibrary::Error& error) {
  throw Resampler::Error(error.what());
}

[[noreturn]] void ThrowError(int error) {
  throw Resampler::Error(std::string("cannot be resampled: ") + LoadedSamplerate().strerror(error));
}

}  // namespace

void Resampler::Deleter::operator()(SRC_STATE* state) const {
  LoadedSamplerate().destroy(state);
}

Resampler::Resampler(int sourceRate) : ratio_(static_cast<double>(kSampleRate) / sourceRate) {
  if (sourceRate == kSampleRate) return;
  int error = 0;
  state_.reset(LoadedSamplerate().create(SRC_SINC_MEDIUM_QUALITY, kMono, &error));
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
    if (const int error = LoadedSamplerate().process(state_.get(), &data); error != 0)
      ThrowError(error);
    produced += static_cast<std::size_t>(data.output_frames_gen);
    input = input.subspan(static_cast<std::size_t>(data.input_frames_used));
    isComplete = input.empty() && data.output_frames_gen < data.output_frames;
  }
  return std::span<const float>(output_).first(produced);
}

}  // namespace engine
