#ifndef KA_TESTS_SUPPORT_LOUDNESS_H
#define KA_TESTS_SUPPORT_LOUDNESS_H

#include <span>

namespace support {

/// Of samples of one channel, in LUFS: the integrated loudness; of less than 3 s the largest
/// momentary one, as if silence followed up to 0.4 s. Minus infinity for silence.
double LoudnessOf(std::span<const float> samples, int sampleRate);
double IntegratedLoudnessOf(std::span<const float> samples, int sampleRate);
double MomentaryLoudnessOf(std::span<const float> samples, int sampleRate);

/// In dBTP.
double TruePeakOf(std::span<const float> samples, int sampleRate);

}  // namespace support

#endif
