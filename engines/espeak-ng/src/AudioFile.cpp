#include "AudioFile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include "RegularFile.h"
#include "Resampler.h"
#include "SharedLibrary.h"
#include "TextCleaner.h"

namespace engine {
namespace {

constexpr std::size_t kFramesPerBlock = 4096;

// libsndfile's functions.
struct Sndfile {
  SharedLibrary library{"libsndfile.so.1"};
  decltype(sf_open_fd)* openFd = library.Function<decltype(sf_open_fd)>("sf_open_fd");
  decltype(sf_close)* close = library.Function<decltype(sf_close)>("sf_close");
  decltype(sf_readf_float)* readfFloat =
      library.Function<decltype(sf_readf_float)>("sf_readf_float");
  decltype(sf_error)* error = library.Function<decltype(sf_error)>("sf_error");
  decltype(sf_strerror)* strerror = library.Function<decltype(sf_strerror)>("sf_strerror");
};

const Sndfile& LoadedSndfile() {
  static const Sndfile functions;
  return functions;
}

std::int16_t ToSample(float value) {
  using Limits = std::numeric_limits<std::int16_t>;
  const float scaled = std::clamp(value * 32768.0F, static_cast<float>(Limits::min()),
                                  static_cast<float>(Limits::max()));
  return static_cast<std::int16_t>(std::lrint(scaled));
}

// The mean of one frame's channels. Values that are no number, which files of floating point
// numbers may hold, count as silence.
float MixedDown(std::span<const float> frame) {
  float sum = 0;
  for (const float value : frame)
    sum += std::isfinite(value) ? value : 0.0F;
  return std::clamp(sum / static_cast<float>(frame.size()), -16.0F, 16.0F);
}

std::vector<float> MixDown(std::span<const float> frames, std::size_t channels) {
  std::vector<float> mono;
  mono.reserve(frames.size() / channels);
  for (; !frames.empty(); frames = frames.subspan(channels)) {
    mono.push_back(MixedDown(frames.first(channels)));
  }
  return mono;
}

std::vector<std::int16_t> ToSamples(std::span<const float> values) {
  std::vector<std::int16_t> samples(values.size());
  std::ranges::transform(values, samples.begin(), ToSample);
  return samples;
}

}  // namespace

void AudioFile::Deleter::operator()(SNDFILE* file) const {
  LoadedSndfile().close(file);
}

AudioFile::AudioFile(const std::string& path) : path_(path), descriptor_(OpenRegularFile(path)) {
  Open();
}

void AudioFile::Open() try {
  const Sndfile& sndfile = LoadedSndfile();
  file_.reset(sndfile.openFd(descriptor_.Get(), SFM_READ, &info_, SF_FALSE));
  if (!file_) ThrowError(sndfile.strerror(nullptr));
} catch (const SharedLibrary::Error& error) {
  ThrowError(error.what());
}

void AudioFile::PlayInto(SampleSink& sink) try {
  const Sndfile& sndfile = LoadedSndfile();
  const auto channels = static_cast<std::size_t>(info_.channels);
  std::vector<float> block(kFramesPerBlock * channels);
  Resampler resampler(info_.samplerate);
  bool isLast = false;
  while (!isLast) {
    const sf_count_t frames = sndfile.readfFloat(file_.get(), block.data(), kFramesPerBlock);
    isLast = frames <= 0;
    const std::size_t values = isLast ? 0 : static_cast<std::size_t>(frames) * channels;
    const std::vector<float> mono = MixDown(std::span(block).first(values), channels);
    sink.Write(ToSamples(resampler.Convert(mono, isLast)));
  }
  if (sndfile.error(file_.get()) != SF_ERR_NO_ERROR) ThrowError(sndfile.strerror(file_.get()));
} catch (const Resampler::Error& error) {
  ThrowError(error.what());
}

void AudioFile::ThrowError(const std::string& reason) const {
  throw FileError("cannot play " + InQuotes(path_) + ": " + reason);
}

}  // namespace engine
