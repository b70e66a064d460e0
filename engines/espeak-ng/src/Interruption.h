#ifndef KA_ENGINE_INTERRUPTION_H
#define KA_ENGINE_INTERRUPTION_H

// SIGTERM, SIGINT and SIGHUP end the program by way of its destructors, so that no temporary file
// and no player is left behind.

namespace engine {

/// From now on those signals are only noted; one that the caller had ignored stays ignored.
/// SIGPIPE and SIGXFSZ are ignored: a vanished player and a file that may not grow any more are
/// seen by the failing write.
void NoteSignals();

/// Throws Failure if one of the signals has arrived.
void ThrowIfInterrupted();

}  // namespace engine

#endif
