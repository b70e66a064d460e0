#ifndef KA_TOOLS_BLOCK_INTAKE_H
#define KA_TOOLS_BLOCK_INTAKE_H

#include <string>

#include "common/language.h"
#include "kaRBLDataContent.h"
#include "kaSpeechbuilder.h"

namespace tools {

/// What the server does with a message at its data port before it makes a text of it.
struct BlockIntake {
  int Rows = 0;                        ///< rows that are announced; 0 for a refused block
  const Bilingual* Refusal = nullptr;  ///< why the server refuses the block; null if it takes it
};

/// Takes a message as the server does. What that prints is not held back.
/// \param content gets the rows of the block
BlockIntake TakeIn(const CkaSpeechbuilder& builder, const std::string& message,
                   CkaRBLDataContent& content);

/// Why the server gives a block up that it has taken: an exception while a text is made.
extern const Bilingual kGivenUp;

}  // namespace tools

#endif
