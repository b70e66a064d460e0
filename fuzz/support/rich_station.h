#ifndef KA_FUZZ_RICH_STATION_H
#define KA_FUZZ_RICH_STATION_H

#include <string>

class CkaSpeechbuilder;

namespace fuzz {

/// An announcement document with everything that one can have: two languages, all kinds of
/// elements, phrases and cases, the oddities among them.
extern const char* const kRichDocument;

/// A data block for it.
extern const char* const kRichBlock;

/// Writes the lexicon files "letters", "words" and "signs" into "lexidata" + `directory` below
/// TheDirectory().
void WriteLexica(const std::string& directory);

/// Makes TheDirectory() the root of a station with kRichDocument, and loads it into the builder of
/// TheServer(). The store has speech files for de0 and en1.
CkaSpeechbuilder& PrepareRichStation();

}  // namespace fuzz

#endif
