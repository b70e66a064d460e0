#ifndef KA_FUZZ_ANNOUNCEMENT_MODEL_H
#define KA_FUZZ_ANNOUNCEMENT_MODEL_H

#include <optional>
#include <string>

#include "kaSpeechbuilder.h"
#include "support/case_model.h"
#include "support/lexicon_model.h"

namespace model {

struct Announcement {
  bool Exists = false;
  std::string Language;
  std::string Text;
};

/// The announcement of row number `number` in language `language` by the builder's documents.
/// Nothing if these do not fit together, which gives the block up.
std::optional<Announcement> Compose(const CkaSpeechbuilder& builder,
                                    const CkaRBLDataContent::kaRBLRow& row, int number,
                                    std::size_t language, const CaseResults& cases,
                                    LexiconFiles& files, Printed& printed);

}  // namespace model

#endif
