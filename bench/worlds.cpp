#include "worlds.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

constexpr std::size_t kSyllables = 32;
constexpr std::array<std::string_view, kSyllables> kSyllable = {
    "ba", "be", "bo", "da", "de", "do", "fa", "fe", "ga", "go", "ha", "he", "ka", "ko", "la", "le",
    "lo", "ma", "me", "mo", "na", "ne", "no", "ra", "re", "ro", "sa", "se", "ta", "te", "wa", "zu"};
constexpr std::array<std::string_view, 8> kEnding = {
    "", "au", "burg", "dorf", "hausen", "kirchen", "wiesenthal", "niederschoenefeld"};

/// Every how many of a value's names a lexicon replaces.
constexpr std::size_t kLexiconMatchesEvery = 3;

std::string Attribute(std::string_view name, std::string_view value) {
  return " " + std::string(name) + "=\"" + std::string(value) + "\"";
}

std::string CaseName(std::size_t index) {
  return "case" + std::to_string(index);
}

std::string SubstringCase(std::size_t index) {
  const bool number = index % 2 == 0;
  return "<Case" + Attribute("id", CaseName(index)) +
         Attribute("substr", number ? "delay" : "dest") +
         Attribute("type", number ? "number" : "string") + R"( begin="0" end="-1")" +
         Attribute("operator", number ? "ge" : "ne") +
         Attribute("value", number ? std::to_string(index % 60) : StationName(index)) + "/>\n";
}

std::string LengthCase(std::size_t index) {
  return "<Case" + Attribute("id", CaseName(index)) + Attribute("strlen", "dest") +
         Attribute("operator", "gt") + Attribute("value", std::to_string(index % 40)) + "/>\n";
}

std::string CombiningCase(std::size_t index) {
  return "<Case" + Attribute("id", CaseName(index)) +
         Attribute("operator", index % 4 == 1 ? "AND" : "OR") + "><Case" +
         Attribute("ref", CaseName(index - 5)) + "/><Case" + Attribute("ref", CaseName(index - 2)) +
         "/></Case>\n";
}

std::string CaseText(std::size_t index) {
  switch (index % 6) {
    case 0:
    case 1:
    case 2:
      return SubstringCase(index);
    case 3:
    case 4:
      return LengthCase(index);
    default:
      return CombiningCase(index);
  }
}

std::string AnnouncementText(std::size_t position, const DocumentShape& shape) {
  std::string text = "<Announcement" + Attribute("position", std::to_string(position)) + ">\n";
  text += R"(<Speech id="number" prefix="Zug "/>)";
  text += "<Speech" + Attribute("id", "destination") + Attribute("prefix", " nach ") +
          (shape.Lexicon.empty() ? "" : Attribute("lexicon", shape.Lexicon)) + "/>";
  for (std::size_t i = 0; i < 10; ++i) {
    text += "<Condition" + Attribute("name", CaseName(i)) + "><Speech" + Attribute("id", "delay") +
            Attribute("prefix", " " + std::to_string(i) + " ") + "/></Condition>\n";
  }
  return text + "</Announcement>\n";
}

std::string LanguageText(std::string_view name, const DocumentShape& shape) {
  std::string text = "<Language" + Attribute("name", name) +
                     Attribute("generalprefix", "\\voice(" + std::string(name) + ")") + ">\n";
  for (std::size_t i = 0; i < shape.Announcements; ++i)
    text += AnnouncementText(i, shape);
  return text + "</Language>\n";
}

std::string ReferenceText(std::string_view name) {
  return "<Language" + Attribute("name", name) + R"(><Voice sex="male">)" + std::string(name) +
         R"(</Voice><Element id="number" trait="temp"/><Element id="destination" trait="temp"/>)"
         R"(<Element id="delay" trait="temp"/></Language>)"
         "\n";
}

std::size_t Occurrences(std::string_view text, std::string_view word) {
  std::size_t count = 0;
  for (auto at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1))
    ++count;
  return count;
}

std::size_t Matches(std::string_view text, std::size_t firstName, std::size_t lastName) {
  std::size_t count = 0;
  for (std::size_t i = firstName; i < lastName; ++i)
    count += Occurrences(text, StationName(i));
  return count;
}

}  // namespace

std::string StationName(std::size_t index) {
  constexpr std::uint32_t kNames = kSyllables * kSyllables * kSyllables * kSyllables;
  // An odd factor permutes the numbers, so that neighbours do not begin alike.
  std::uint32_t number = (static_cast<std::uint32_t>(index) * 640'007U + 77'773U) % kNames;
  const std::string_view ending = kEnding[(number / 7) % kEnding.size()];
  std::string name;
  for (int i = 0; i < 4; ++i, number /= kSyllables)
    name += kSyllable[number % kSyllables];
  name.front() = static_cast<char>(name.front() - 'a' + 'A');
  return name.append(ending);
}

std::string ProfileKey(std::size_t index) {
  return StationName(index);
}

std::string ProfileText(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    text += ProfileKey(i) + "=\"value " + std::to_string(i) + "\"\n";
  return text;
}

unsigned CatalogueClass(std::size_t row) {
  return static_cast<unsigned>(1000 + 100 * (row / 10));
}

std::string CatalogueText(std::size_t rows) {
  std::string text;
  for (std::size_t i = 0; i < rows; ++i)
    text += std::to_string(CatalogueClass(i)) + "          " + StationName(i) + " answers.\\n\n";
  return text;
}

std::string LexiconText(std::size_t count) {
  std::string text = "# Names as they are spoken.\n";
  for (std::size_t i = 0; i < count; ++i)
    text += StationName(i) + "=\"Ort " + std::to_string(i % 10) + "\"\n";
  return text;
}

std::string LexiconValue(std::size_t bytes, std::size_t largest) {
  constexpr std::size_t kSmallest = 10;
  constexpr std::size_t kShortName = 8;  // fits into the shortest value
  constexpr std::size_t kFirstUnknown = 500'000;
  std::string text;
  for (std::size_t i = 0; text.size() < bytes; ++i) {
    const bool known = i % kLexiconMatchesEvery == 0;
    const std::size_t name = (kShortName + i / kLexiconMatchesEvery) % kSmallest;
    text += StationName(known ? name : kFirstUnknown + i) + ' ';
  }
  text.resize(bytes);
  if (Matches(text, kSmallest, largest) > 0) {
    throw std::logic_error("a larger lexicon has more matches");
  }
  return text;
}

std::string DocumentText(const DocumentShape& shape) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Station>\n<References>\n" +
                     ReferenceText("de") + ReferenceText("en") + "</References>\n<Assembly>\n" +
                     LanguageText("de", shape) + LanguageText("en", shape) +
                     R"(<RBLFormat minrows="1" maxrows="20">
<Attribute name="event"/>
<Attribute name="category"/>
<Attribute name="number" assignto="number" musthavevalue="yes"/>
<Attribute name="dest" assignto="destination"/>
<Attribute name="time"/>
<Attribute name="delay" assignto="delay"/>
<Attribute name="track"/>
</RBLFormat>
)";
  for (std::size_t i = 0; i < shape.Cases; ++i)
    text += CaseText(i);
  return text + "</Assembly>\n</Station>\n";
}

std::string BlockText(std::size_t rows, int variant) {
  std::string text = "<rbl>\n";
  for (std::size_t i = 0; i < rows; ++i) {
    const std::string twoDigits = std::to_string(10 + i);
    text += R"(<row event="D" category="ICE")" +
            Attribute("number", std::to_string(variant % 10) + twoDigits) +
            Attribute("dest", StationName(i % 10)) + Attribute("time", "12:" + twoDigits) +
            Attribute("delay", "5") + Attribute("track", "7") + "/>\n";
  }
  return text + "</rbl>\n";
}

}  // namespace bench
