#ifndef KA_TOOLS_RISK_H
#define KA_TOOLS_RISK_H

#include <string>
#include <string_view>
#include <vector>

#include "common/language.h"

namespace tools {

/// Why a word may be spoken otherwise than it is meant.
struct RiskReason {
  std::string_view Id;  ///< the same in every language
  int Points;
  Bilingual Text;
};

/// How likely a word is spoken wrongly: the sum of the points of its reasons.
struct Risk {
  int Points = 0;
  std::vector<const RiskReason*> Reasons;

  /// A reason counts once.
  void Add(const RiskReason& reason);
  void Add(const Risk& other);
};

/// All reasons, the greatest risk first.
const std::vector<RiskReason>& RiskReasons();

/// The risk of a word that no lexicon has touched.
/// \param language the station's language that speaks it: "de", "en"; of others the letters are not
/// known, and none is foreign
/// \param endsSentence whether the word's last full stop is that of a sentence
Risk RiskOf(std::string_view word, std::string_view language, bool endsSentence);

/// Whether a word of a text ends a sentence. \param next the word behind it, "" if there is none
bool EndsSentence(std::string_view word, std::string_view next);

/// The risk that the engine itself gives away by taking the voice of another language.
void AddVoiceRisk(Risk& risk, std::string_view phonemes);

}  // namespace tools

#endif
