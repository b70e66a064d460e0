#ifndef KA_TOOLS_LOUDNESS_METER_H
#define KA_TOOLS_LOUDNESS_METER_H

#include <ebur128.h>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace tools {

/// A clip shorter than this has no meaningful integrated loudness.
constexpr double kShortClipSeconds = 3;
/// Below this, as the height of a sample in dB of full scale, counts as silence at either end.
constexpr double kSilenceDb = -60;

/// What was measured of a sound.
struct Measurement {
  /// LUFS, of all channels mixed down to one; none for silence (nothing above -70 LUFS).
  std::optional<double> Loudness;
  bool bMomentary = false;     ///< the largest momentary loudness instead of the integrated one
  double TruePeak = 0;         ///< dBTP, the highest channel's; minus infinity for silence
  double LeadingSilence = 0;   ///< seconds; all of a silent sound
  double TrailingSilence = 0;  ///< seconds; all of a silent sound
};

/// Measures a sound piece by piece with libebur128: the integrated loudness, of a clip under
/// kShortClipSeconds the largest momentary one.
class LoudnessMeter {
 public:
  /// \param frames length of the whole sound
  /// \throws std::bad_alloc, also for a rate or number of channels that the library refuses
  LoudnessMeter(int sampleRate, int channels, std::size_t frames);

  /// Takes the next frames: samples of all channels in turn, 1 being full scale.
  void Add(std::span<const double> samples);
  /// What all frames together have. Ends the measuring.
  Measurement Result();

 private:
  /// Owns a state of the library.
  class State {
   public:
    State(int sampleRate, int channels, int mode);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ebur128_state* Get() const { return state_; }

   private:
    ebur128_state* state_;
  };

  void AddMono(std::span<const double> mono);
  void AddHop(std::span<const double> mono);
  void NoteSilence(std::span<const double> samples);
  double TruePeak() const;

  int sampleRate_;
  std::size_t channels_;
  bool bMomentary_;
  std::size_t frames_ = 0;      ///< taken so far
  std::size_t firstHeard_ = 0;  ///< frame; only if there is one
  std::size_t heardEnd_ = 0;    ///< behind the last heard frame; 0 if there is none
  std::size_t untilHop_;        ///< frames until the momentary loudness is looked at again
  double largestMomentary_;
  State loudness_;  ///< of the mixed down sound
  State peak_;      ///< of all channels
};

}  // namespace tools

#endif
