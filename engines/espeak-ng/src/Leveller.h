#ifndef KA_ENGINE_LEVELLER_H
#define KA_ENGINE_LEVELLER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "SampleSink.h"

namespace engine {

struct Levelling {
  std::optional<double> lufs;   ///< the loudness wanted; without one speech passes as it is
  bool someoneListens = false;  ///< the first sound must come soon
};

/// Brings speech to one loudness on its way to another sink.
///
/// Speech is held back until kHeldSeconds of it, or all of it, have come; they are measured, and
/// one gain is used from there to Finish(). The loudness of more than that hardly differs: by 0.5
/// LU at most for the announcements that this was tried with. While someone listens, only
/// kHeldSecondsLive are held back; sentences begin loud, so for longer speech their loudness counts
/// together with what is typical of espeak-ng. That was right within 1 LU for the same
/// announcements.
class Leveller final : public SampleSink {
 public:
  static constexpr int kHeldSeconds = 8;
  static constexpr int kHeldSecondsLive = 3;

  Leveller(SampleSink& target, const Levelling& levelling)
      : target_(target), levelling_(levelling) {}

  bool IsOn() const { return levelling_.lufs.has_value(); }

  /// How much louder than wanted the speech is from here on, as a factor of its amplitude; 1 at
  /// first. Begins new speech if it changes.
  void SetVolume(double factor);

  /// Silence that comes before all speech is not held back.
  void Write(Samples samples) override;

  /// Ends the speech: what was held back goes to the target, and what comes next is measured anew.
  void Finish();

 private:
  void Hold(Samples samples);
  std::size_t MostHeld() const;
  double LoudnessOfLongSpeech(double ofHeld) const;
  void Release(bool isAll);
  float GainFor(double loudness) const;
  void WriteLouder(Samples samples);

  SampleSink& target_;
  Levelling levelling_;
  double volume_ = 1;
  std::optional<float> gain_;  // known once the speech has been measured
  std::vector<std::int16_t> held_;
  std::vector<std::int16_t> louder_;
};

}  // namespace engine

#endif
