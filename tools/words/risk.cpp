#include "words/risk.h"

#include <algorithm>
#include <cstddef>
#include <regex>

namespace tools {

namespace {

enum Reason {
  Time,
  Ordinal,
  Foreign,
  Abbreviation,
  Slash,
  Sign,
  Capitals,
  Mixed,
  Digits,
  Letter,
  Voice
};

/// What a word consists of.
struct Shape {
  int Letters = 0;
  int Vowels = 0;
  int Digits = 0;
  int Stops = 0;
  bool bCapitals = false;  ///< two capitals in a row
  bool bForeign = false;
  bool bSlash = false;
  bool bSign = false;
};

constexpr std::string_view kSurrounding = ",;:!?'";
constexpr std::string_view kSentenceMarks = ",;:!?'.";
constexpr std::string_view kPlain = ",;:!?'-.";
constexpr std::u32string_view kGermanLetters = U"äöüßÄÖÜẞ";
constexpr std::u32string_view kVowels = U"aeiouyäöüAEIOUYÄÖÜ";
constexpr std::u32string_view kGermanCapitals = U"ÄÖÜ";

/// The characters of UTF-8; each invalid byte is U+FFFD.
std::u32string Characters(std::string_view bytes) {
  std::u32string characters;
  for (std::size_t pos = 0; pos < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[pos]);
    const std::size_t size = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                                           : 4;
    char32_t code = size == 1 ? lead : lead & (0xFFU >> (size + 1));
    bool valid = size > 0 && pos + size <= bytes.size();
    for (std::size_t i = 1; valid && i < size; ++i) {
      const auto byte = static_cast<unsigned char>(bytes[pos + i]);
      valid = (byte & 0xC0U) == 0x80U;
      code = code << 6U | (byte & 0x3FU);
    }
    characters += valid ? code : U'\uFFFD';
    pos += valid ? size : 1;
  }
  return characters;
}

bool IsAsciiLetter(char32_t c) {
  return (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z');
}

/// Letters of Latin, Greek and Cyrillic: what European names are written in.
bool IsOtherLetter(char32_t c) {
  return (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7) || (c >= 0x370 && c <= 0x52F) ||
         (c >= 0x1E00 && c <= 0x1FFF);
}

bool IsCapital(char32_t c) {
  return (c >= U'A' && c <= U'Z') || kGermanCapitals.find(c) != std::u32string_view::npos;
}

bool IsForeign(char32_t c, std::string_view language) {
  if (language.starts_with("de")) return kGermanLetters.find(c) == std::u32string_view::npos;
  return language.starts_with("en");
}

void AddLetter(Shape& shape, char32_t c, std::string_view language) {
  ++shape.Letters;
  const bool isAscii = IsAsciiLetter(c);
  // Of a foreign letter nobody knows; it may be one.
  if (!isAscii || kVowels.find(c) != std::u32string_view::npos) ++shape.Vowels;
  if (!isAscii && IsForeign(c, language)) shape.bForeign = true;
}

Shape ShapeOf(std::string_view word, std::string_view language) {
  Shape shape;
  char32_t before = 0;
  for (const char32_t c : Characters(word)) {
    if (IsAsciiLetter(c) || IsOtherLetter(c)) {
      AddLetter(shape, c, language);
      shape.bCapitals = shape.bCapitals || (IsCapital(c) && IsCapital(before));
    } else if (c >= U'0' && c <= U'9') {
      ++shape.Digits;
    } else if (c == U'/' || c == U'\\') {
      shape.bSlash = true;
    } else if (c == U'.') {
      ++shape.Stops;
    } else if (c >= 0x80 || kPlain.find(static_cast<char>(c)) == std::string_view::npos) {
      shape.bSign = true;
    }
    before = c;
  }
  // A lone "-" between blanks is no hyphen.
  shape.bSign = shape.bSign || shape.Letters + shape.Digits == 0;
  return shape;
}

/// The word without what stands around it in a sentence. Parentheses and double quotes stay: the
/// engine makes a pause of them.
std::string_view Trimmed(std::string_view word, bool endsSentence) {
  if (word.find_first_not_of(kSentenceMarks) == std::string_view::npos) return {};
  if (endsSentence && word.ends_with('.')) word.remove_suffix(1);
  const std::size_t first = word.find_first_not_of(kSurrounding);
  return word.substr(first, word.find_last_not_of(kSurrounding) - first + 1);
}

bool IsTime(std::string_view word) {
  static const std::regex kTime("(^|[^0-9])[0-9]{1,2}[:.][0-9]{2}($|[^0-9])");
  return std::regex_search(word.begin(), word.end(), kTime);
}

bool IsOrdinal(std::string_view word) {
  static const std::regex kOrdinal("[0-9]+\\.");
  return std::regex_match(word.begin(), word.end(), kOrdinal);
}

const RiskReason& TheReason(Reason reason) {
  return RiskReasons()[reason];
}

}  // namespace

const std::vector<RiskReason>& RiskReasons() {
  static const std::vector<RiskReason> kReasons = {
      {"time", 40, {"Uhrzeit", "time"}},
      {"ordinal", 35, {"Ordnungszahl", "ordinal number"}},
      {"foreign", 35, {"fremder Buchstabe", "foreign letter"}},
      {"abbreviation", 30, {"Abkürzung", "abbreviation"}},
      {"slash", 30, {"Schrägstrich", "slash"}},
      {"sign", 25, {"Zeichen, das kein Buchstabe ist", "sign that is no letter"}},
      {"capitals", 25, {"Großbuchstaben", "capitals"}},
      {"mixed", 20, {"Buchstaben und Ziffern", "letters and digits"}},
      {"digits", 15, {"Ziffern", "digits"}},
      {"letter", 10, {"einzelner Buchstabe", "single letter"}},
      {"voice",
       10,
       {"die Engine spricht es in einer anderen Sprache",
        "the engine speaks it in another language"}},
  };
  return kReasons;
}

void Risk::Add(const RiskReason& reason) {
  if (std::find(Reasons.begin(), Reasons.end(), &reason) != Reasons.end()) return;
  Points += reason.Points;
  Reasons.push_back(&reason);
}

void Risk::Add(const Risk& other) {
  for (const RiskReason* reason : other.Reasons)
    Add(*reason);
}

Risk RiskOf(std::string_view word, std::string_view language, bool endsSentence) {
  Risk risk;
  const std::string_view inner = Trimmed(word, endsSentence);
  if (inner.empty()) return risk;
  const Shape shape = ShapeOf(inner, language);
  const bool isTime = IsTime(inner);
  const bool isOrdinal = IsOrdinal(inner);
  const bool isNumber = shape.Digits > 0;
  const bool isAbbreviation = (shape.Stops > 0 && shape.Letters > 0) ||
                              (shape.Letters > 1 && shape.Vowels == 0 && !shape.bCapitals);
  const auto addIf = [&risk](bool holds, Reason reason) {
    if (holds) risk.Add(TheReason(reason));
  };
  addIf(isTime, Time);
  addIf(isOrdinal, Ordinal);
  addIf(shape.bForeign, Foreign);
  addIf(isAbbreviation, Abbreviation);
  addIf(shape.bSlash, Slash);
  addIf(shape.bSign, Sign);
  addIf(shape.bCapitals, Capitals);
  addIf(isNumber && shape.Letters > 0, Mixed);
  addIf(isNumber && !isTime && !isOrdinal, Digits);
  addIf(shape.Letters == 1 && !isNumber, Letter);
  return risk;
}

bool EndsSentence(std::string_view word, std::string_view next) {
  if (!word.ends_with('.')) return false;
  if (next.empty()) return true;
  // "hier. Bitte" is an end, "St. Pölten" is none: few words of three letters end a sentence.
  constexpr std::size_t kLongestAbbreviation = 3;
  const std::u32string following = Characters(next);
  return IsCapital(following.front()) && Characters(word).size() > kLongestAbbreviation + 1;
}

void AddVoiceRisk(Risk& risk, std::string_view phonemes) {
  // "(pl)...(de)": the voice of another language, and back.
  static const std::regex kVoice("\\([a-z]{2,3}(-[a-z-]+)?\\)");
  if (std::regex_search(phonemes.begin(), phonemes.end(), kVoice)) risk.Add(TheReason(Voice));
}

}  // namespace tools
