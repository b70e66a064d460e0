#include "level/audio_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace tools {

namespace {

constexpr Bilingual kUnreadable = {"kann nicht gelesen werden", "cannot be read"};
constexpr Bilingual kNoPcm = {"ist keine .wav-Datei mit PCM oder Gleitkommazahlen",
                              "is no .wav file with PCM or floating point numbers"};
constexpr Bilingual kEmpty = {"enthält keinen Ton", "holds no sound"};
constexpr Bilingual kBrokenOff = {"ist kürzer, als ihr Kopf sagt", "is shorter than its head says"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};

constexpr std::size_t kFramesPerBlock = 16384;

struct Coding {
  int Format;  ///< libsndfile's
  int Bits;    ///< 0 for floating point numbers
  const char* Name;
};

constexpr Coding kCodings[] = {
    {SF_FORMAT_PCM_U8, 8, "8"},   {SF_FORMAT_PCM_16, 16, "16"},  {SF_FORMAT_PCM_24, 24, "24"},
    {SF_FORMAT_PCM_32, 32, "32"}, {SF_FORMAT_FLOAT, 0, "float"}, {SF_FORMAT_DOUBLE, 0, "double"},
};

bool IsWave(int format) {
  const int container = format & SF_FORMAT_TYPEMASK;
  return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX;
}

const Coding* CodingOf(int format) {
  const auto* found = std::ranges::find(kCodings, format & SF_FORMAT_SUBMASK, &Coding::Format);
  return found == std::end(kCodings) ? nullptr : found;
}

/// A sample as the library wants integers: in the highest bits of 32.
int ToInteger(double sample, int bits) {
  const double fullScale = std::ldexp(1, bits - 1);
  const auto value = std::clamp<std::int64_t>(std::llrint(sample * fullScale),
                                              -std::llrint(fullScale), std::llrint(fullScale) - 1);
  return static_cast<int>(value * (std::int64_t{1} << (32 - bits)));
}

/// Writes whole frames. False on an error.
bool WriteSamples(SNDFILE* target, std::span<const double> samples, const Coding& coding) {
  const auto count = static_cast<sf_count_t>(samples.size());
  if (coding.Bits == 0) return sf_write_double(target, samples.data(), count) == count;
  std::vector<int> integers(samples.size());
  std::ranges::transform(samples, integers.begin(),
                         [&](double sample) { return ToInteger(sample, coding.Bits); });
  return sf_write_int(target, integers.data(), count) == count;
}

}  // namespace

AudioFile::AudioFile(const std::filesystem::path& file) : file_(file) {
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(file, unknown)) throw CannotRun(kUnreadable, file);
  handle_.reset(sf_open(file.c_str(), SFM_READ, &info_));
  // The library also fails for what it does not know as an audio file.
  if (!handle_ && sf_error(nullptr) == SF_ERR_SYSTEM) throw CannotRun(kUnreadable, file);
  if (!handle_ || !IsWave(info_.format) || CodingOf(info_.format) == nullptr)
    throw CannotRun(kNoPcm, file);
  if (info_.frames <= 0) throw CannotRun(kEmpty, file);
}

AudioFormat AudioFile::Format() const {
  return {info_.samplerate, info_.channels, static_cast<std::size_t>(info_.frames),
          CodingOf(info_.format)->Name};
}

Measurement AudioFile::Measure() {
  LoudnessMeter meter(info_.samplerate, info_.channels, static_cast<std::size_t>(info_.frames));
  ForEachBlock([&](std::span<double> samples) { meter.Add(samples); });
  return meter.Result();
}

void AudioFile::CopyTo(int descriptor, double gain) {
  SF_INFO info{};
  info.samplerate = info_.samplerate;
  info.channels = info_.channels;
  info.format = info_.format;
  const Handle target(sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE));
  if (!target) throw CannotRun(kNotWritten, file_);
  CopyTexts(target.get());
  const Coding& coding = *CodingOf(info_.format);
  ForEachBlock([&](std::span<double> samples) {
    for (double& sample : samples)
      sample *= gain;
    if (!WriteSamples(target.get(), samples, coding)) throw CannotRun(kNotWritten, file_);
  });
  sf_write_sync(target.get());
  if (sf_error(target.get()) != SF_ERR_NO_ERROR) throw CannotRun(kNotWritten, file_);
}

/// Values that are no number, which files of floating point numbers may hold, count as silence.
void AudioFile::ForEachBlock(const std::function<void(std::span<double>)>& work) {
  const auto channels = static_cast<std::size_t>(info_.channels);
  std::vector<double> block(kFramesPerBlock * channels);
  sf_count_t frames = 0;
  sf_seek(handle_.get(), 0, SEEK_SET);
  while (const sf_count_t count = sf_readf_double(handle_.get(), block.data(), kFramesPerBlock)) {
    const auto samples = std::span(block).first(static_cast<std::size_t>(count) * channels);
    std::ranges::replace_if(
        samples, [](double sample) { return !std::isfinite(sample); }, 0.0);
    work(samples);
    frames += count;
  }
  if (frames != info_.frames) throw CannotRun(kBrokenOff, file_);
}

void AudioFile::CopyTexts(SNDFILE* target) const {
  for (int kind = SF_STR_FIRST; kind <= SF_STR_LAST; ++kind)
    if (const char* text = sf_get_string(handle_.get(), kind)) sf_set_string(target, kind, text);
}

}  // namespace tools
