#ifndef KA_ENGINE_CHECKED_SINK_H
#define KA_ENGINE_CHECKED_SINK_H

#include <chrono>
#include <optional>

#include "SampleSink.h"

namespace engine {

/// Stands in front of another sink and ends the work when the program is told to stop or the time
/// limit is over. All sound passes here in short pieces, so both take effect soon.
class CheckedSink final : public SampleSink {
 public:
  using Clock = std::chrono::steady_clock;

  CheckedSink(SampleSink& target, std::optional<Clock::time_point> deadline)
      : target_(target), deadline_(deadline) {}

  void Prepare() override { target_.Prepare(); }
  void Write(Samples samples) override;

  /// Throws Failure when the work has to end.
  void Check() const;

 private:
  SampleSink& target_;
  std::optional<Clock::time_point> deadline_;
};

}  // namespace engine

#endif
