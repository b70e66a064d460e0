#ifndef KA_ENGINE_ANNOUNCEMENT_H
#define KA_ENGINE_ANNOUNCEMENT_H

#include "CheckedSink.h"
#include "Leveller.h"
#include "Piece.h"

namespace engine {

/// Writes the sound of all pieces, in order, to `sink`. Speech is levelled: what one voice says up
/// to the next audio file, as a whole. An audio file that cannot be read is left out with a warning
/// on stderr. Throws Failure, before any sound if it is for a missing voice.
void RenderAnnouncement(const Pieces& pieces, const Levelling& levelling, CheckedSink& sink);

}  // namespace engine

#endif
