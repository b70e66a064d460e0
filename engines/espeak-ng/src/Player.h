#ifndef KA_ENGINE_PLAYER_H
#define KA_ENGINE_PLAYER_H

#include <sys/types.h>

#include "SampleSink.h"
#include "UniqueFd.h"

namespace engine {

/// Plays samples through one `aplay` child, found through PATH, while they are being produced.
///
/// Someone may kill the player to end the announcement; then Write() and Finish() throw Failure at
/// once, with exit status kPlayerStopped. No child outlives this object.
class Player final : public SampleSink {
 public:
  Player() = default;

  /// Kills the player if it still runs: the announcement has failed.
  ~Player() override;

  /// Starts the player.
  void Prepare() override;

  /// Starts the player before the first sample, unless that was done.
  void Write(Samples samples) override;

  /// Waits until everything has been heard.
  void Finish();

 private:
  void Start();
  void WaitForRoom();
  void WaitShortly(short pipeEvents) const;
  bool HasEnded();
  void Kill();
  [[noreturn]] void ThrowEnded() const;

  UniqueFd pipe_;           // write end, does not block
  UniqueFd processHandle_;  // readable when the player has ended; invalid on old kernels
  pid_t process_ = -1;      // -1 before the start and once it has been collected
  bool wasStarted_ = false;
  int waitStatus_ = 0;  // how the collected player ended
};

}  // namespace engine

#endif
