#ifndef KA_ENGINE_LOUDNESS_H
#define KA_ENGINE_LOUDNESS_H

#include <optional>

#include "SampleSink.h"

namespace engine {

/// The loudness of a sound in LUFS, as ITU-R BS.1770 and EBU R 128 define it for one channel:
/// integrated, with both gates; for less than three seconds the maximum momentary loudness, because
/// so little has no meaningful integrated one. None for silence (below -70 LUFS). libebur128
/// measures the same in five times the time, which is a seventh of what an announcement takes as a
/// whole; the tests compare with it.
std::optional<double> LoudnessOf(Samples samples);

}  // namespace engine

#endif
