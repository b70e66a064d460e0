#include "CheckedSink.h"

#include "Failure.h"
#include "Interruption.h"

namespace engine {

void CheckedSink::Write(Samples samples) {
  Check();
  target_.Write(samples);
}

void CheckedSink::Check() const {
  ThrowIfInterrupted();
  if (deadline_ && Clock::now() >= *deadline_) throw Failure("the time limit is over");
}

}  // namespace engine
