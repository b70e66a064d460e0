#include "Interruption.h"

#include <csignal>
#include <initializer_list>
#include <string>

#include "Failure.h"

namespace engine {
namespace {

volatile std::sig_atomic_t notedSignal = 0;

extern "C" void NoteSignal(int signalNumber) {
  notedSignal = signalNumber;
}

void Handle(int signalNumber) {
  struct sigaction action {};
  sigaction(signalNumber, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = NoteSignal;
  sigaction(signalNumber, &action, nullptr);  // cannot fail for these signals
}

}  // namespace

void NoteSignals() {
  for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP})
    Handle(signalNumber);
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  for (const int signalNumber : {SIGPIPE, SIGXFSZ})
    sigaction(signalNumber, &ignore, nullptr);
}

void ThrowIfInterrupted() {
  const int signalNumber = notedSignal;
  if (signalNumber == 0) return;
  throw Failure("ended by signal " + std::to_string(signalNumber), kEndedBySignal + signalNumber);
}

}  // namespace engine
