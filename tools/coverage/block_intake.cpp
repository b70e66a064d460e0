#include "coverage/block_intake.h"

#include "kaTTSServer.h"
#include "preview/preview.h"

namespace tools {

namespace {

constexpr Bilingual kNoXml = {"ist kein XML, das der Server annimmt",
                              "is no XML that the server takes"};
constexpr Bilingual kFewRows = {"hat zu wenige Zeilen", "has too few rows"};
constexpr Bilingual kNoValue = {"ein Attribut, das einen Wert haben muss, hat keinen",
                                "an attribute that must have a value has none"};

const Bilingual* RefusalOf(kaBlockState state) {
  switch (state) {
    case kaBlockState::NoXml:
      return &kNoXml;
    case kaBlockState::TooFewRows:
      return &kFewRows;
    case kaBlockState::ValueMissing:
      return &kNoValue;
    default:
      return nullptr;
  }
}

}  // namespace

const Bilingual kGivenUp = {
    "der Server gibt ihn auf: ein Fall beginnt hinter dem Ende seines Wertes, oder eine Ansage "
    "fehlt",
    "the server gives it up: a case begins beyond the end of its value, or an announcement is "
    "missing"};

BlockIntake TakeIn(const CkaSpeechbuilder& builder, const std::string& message,
                   CkaRBLDataContent& content) {
  int rows = 0;
  const Bilingual* refusal =
      RefusalOf(builder.ReadBlock(UsedPartOfBlock(ReceivedPart(message)), content, rows));
  return {refusal == nullptr ? rows : 0, refusal};
}

}  // namespace tools
