#include "coverage/block_intake.h"

#include <algorithm>

namespace tools {

namespace {

constexpr Bilingual kNoXml = {"ist kein XML, das der Server annimmt",
                              "is no XML that the server takes"};
constexpr Bilingual kFewRows = {"hat zu wenige Zeilen", "has too few rows"};
constexpr Bilingual kNoValue = {"ein Attribut, das einen Wert haben muss, hat keinen",
                                "an attribute that must have a value has none"};

constexpr std::size_t kLargestRead = 11999;
constexpr const char* kEndOfText = "///";

/// What is left of a message: one read, up to the end of its last tag and in front of the mark for
/// the end of a text.
std::string CutMessage(const std::string& message) {
  std::string text = message.substr(0, std::min(kLargestRead, message.find('\0')));
  const std::size_t lastTag = text.find_last_of("</");
  const std::size_t end = lastTag == std::string::npos ? lastTag : text.find('>', lastTag);
  if (end != std::string::npos) text.erase(end + 1);
  return text.substr(0, text.find(kEndOfText));
}

}  // namespace

const Bilingual kGivenUp = {
    "der Server gibt ihn auf: ein Fall beginnt hinter dem Ende seines Wertes, oder eine Ansage "
    "fehlt",
    "the server gives it up: a case begins beyond the end of its value, or an announcement is "
    "missing"};

BlockIntake TakeIn(const CkaSpeechbuilder& builder, const std::string& message,
                   CkaRBLDataContent& content) {
  if (!content.Initialize(CutMessage(message), false, true)) return {0, &kNoXml};
  content.ReadContent();
  const auto rows = static_cast<unsigned int>(content.GetRowCount());
  if (rows < builder.RBLDataFormat.GetMinRows()) return {0, &kFewRows};
  const int used = static_cast<int>(std::min(rows, builder.RBLDataFormat.GetMaxRows()));
  if (!builder.CheckDataValidity(content, used)) return {0, &kNoValue};
  return {used, nullptr};
}

}  // namespace tools
