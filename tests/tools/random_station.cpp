#include "random_station.h"

namespace toolstest {

namespace {

constexpr std::array kElements = {"gong", "warn", "train", "dest", "time", "text", "more"};
constexpr std::array kAttributes = {"t", "x", "d", "h", "l"};
constexpr std::array kCases = {"k0", "k1", "k2", "k3", "k4", "k5", "k6", "k7", "k8", "k9"};
constexpr std::array kLexica = {"words", "signs", "x", "none", "", "wide"};
constexpr std::array kNumbers = {"0",  "1",   "2", "5", "15",         "-1",
                                 " 7", "007", "x", "",  "99999999999"};
constexpr std::array kSnippets = {"ICE",   "RE",  " ",  "9",         "12:30", "Köln",   "ß",
                                  "\\e",   "*",   "/",  "&amp;",     "&lt;",  "a",      "b",
                                  "aba",   ".",   "-1", "0",         "&#10;", "&quot;", "é",
                                  "\\\\e", "Hbf", "ba", "&#x1F600;", "15",    "X"};

/// A value as it stands between double quotes.
std::string Value(Dice& dice) {
  std::string value;
  for (std::size_t count = dice.Below(5); count > 0; --count)
    value += dice.Pick(kSnippets);
  return value;
}

std::string Attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + "\"";
}

std::string OneIn(Dice& dice, unsigned chance, const char* name, const std::string& value) {
  return dice.Percent(chance) ? Attribute(name, value) : "";
}

// ---- References ----

std::string Elements(Dice& dice) {
  constexpr std::array kTraits = {"steady", "sound", "temp", "temp", "temp", "temp"};
  std::string xml;
  for (const char* id : kElements) {
    if (!dice.Percent(80)) continue;
    const char* trait = dice.Below(1000) == 0 ? "other" : dice.Pick(kTraits);
    xml += "<Element" + Attribute("id", id) + Attribute("trait", trait) + "/>\n";
    if (dice.Percent(3))
      xml += "<Element" + Attribute("id", id) + Attribute("trait", "temp") + "/>";
  }
  return xml;
}

std::string Voice(Dice& dice) {
  if (dice.Below(200) == 0) return "";
  return dice.Below(200) == 0 ? "<Voice sex='no'>d</Voice>" : "<Voice sex='male'>de</Voice>";
}

std::string References(Dice& dice, const std::vector<std::string>& languages) {
  std::string xml = "<References>\n";
  for (const std::string& name : languages) {
    if (dice.Percent(10)) xml += "<Language name='all'>" + Elements(dice) + "</Language>";
    xml += "<Language" + Attribute("name", name) + ">" + Voice(dice) + Elements(dice) +
           "</Language>\n";
  }
  if (dice.Percent(30)) xml += "<Language name='all'>\n" + Elements(dice) + "</Language>\n";
  return xml + "</References>\n";
}

// ---- Assembly ----

std::string Format(Dice& dice) {
  constexpr std::array kYes = {"yes", "no", "TRUE", "1", "ja", "", "no", "No"};
  std::string xml =
      "<RBLFormat" +
      Attribute("minrows", std::to_string(dice.Percent(10) ? 2 : dice.Between(0, 1))) +
      Attribute("maxrows", dice.Percent(2) ? "-1" : std::to_string(dice.Between(1, 4))) + ">\n";
  for (const char* name : kAttributes) {
    if (!dice.Percent(85)) continue;
    xml += "<Attribute" + Attribute("name", name) + Attribute("assignto", dice.Pick(kElements)) +
           OneIn(dice, 5, "musthavevalue", dice.Pick(kYes)) + "/>\n";
  }
  return xml + "</RBLFormat>\n";
}

std::string Speech(Dice& dice) {
  const std::string id = dice.Percent(3) ? "unknown" : dice.Pick(kElements);
  return "<Speech" + Attribute("id", id) + OneIn(dice, 60, "prefix", Value(dice)) +
         OneIn(dice, 40, "suffix", Value(dice)) + OneIn(dice, 40, "lexicon", dice.Pick(kLexica)) +
         "/>";
}

std::string Phrase(Dice& dice) {
  constexpr std::array kFillers = {"\n", "", " ", "<!-- a -->", "\n\n"};
  if (dice.Percent(45)) return Speech(dice) + dice.Pick(kFillers);
  const std::string name = dice.Percent(5) ? "nobody" : dice.Pick(kCases);
  std::string xml = "<Condition" + (dice.Percent(3) ? "" : Attribute("name", name)) + ">";
  for (int count = dice.Between(0, 2); count >= 0; --count)
    xml += Speech(dice) + dice.Pick(kFillers);
  return xml + "</Condition>" + dice.Pick(kFillers);
}

std::string Announcement(Dice& dice, int number) {
  const int position = dice.Percent(90) ? number : dice.Between(-1, 4);
  std::string xml = "<Announcement" + Attribute("position", std::to_string(position)) +
                    OneIn(dice, 30, "positionMax", std::to_string(dice.Between(-1, 5))) + ">\n";
  for (std::size_t count = dice.Below(6); count > 0; --count)
    xml += Phrase(dice);
  return xml + (dice.Percent(80) ? "\n" : "") + "</Announcement>\n";
}

std::string Sequence(Dice& dice, const std::string& language) {
  std::string xml = "<Language" + Attribute("name", language) +
                    OneIn(dice, 80, "generalprefix", "\\voice(" + language + ")") + ">\n";
  const int count = dice.Percent(88) ? 2 : dice.Between(0, 3);
  for (int number = 0; number < count; ++number)
    xml += Announcement(dice, number);
  return xml + "</Language>\n";
}

std::string Begin(Dice& dice) {
  return std::to_string(dice.Percent(88) ? 0 : dice.Between(-1, 3));
}

std::string SimpleCase(Dice& dice, const std::string& id) {
  constexpr std::array kOperators = {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  constexpr std::array kTypes = {"number", "Number", "string", "String", "string", "text"};
  const std::string comparison = dice.Percent(3) ? "is" : dice.Pick(kOperators);
  const std::string head = "<Case" + Attribute("id", id) + Attribute("operator", comparison);
  const std::string number = dice.Pick(kNumbers);
  const std::string value = Attribute("value", dice.Percent(50) ? number : Value(dice));
  if (dice.Percent(30)) return head + Attribute("strlen", dice.Pick(kAttributes)) + value + "/>\n";
  const int end = dice.Percent(60) ? -1 : dice.Between(0, 5);
  return head + Attribute("substr", dice.Pick(kAttributes)) + Attribute("type", dice.Pick(kTypes)) +
         Attribute("begin", end == -1 ? Begin(dice) : std::to_string(dice.Between(0, 3))) +
         OneIn(dice, 97, "end", std::to_string(end)) + value + "/>\n";
}

std::string Combination(Dice& dice, const std::string& id) {
  constexpr std::array kOperators = {"AND", "OR", "NOR", "NAND", "NOT", "XOR"};
  std::string xml =
      "<Case" + Attribute("id", id) + OneIn(dice, 85, "operator", dice.Pick(kOperators)) + ">";
  for (std::size_t count = dice.Below(4); count > 0; --count)
    xml += "<Case" + Attribute("ref", dice.Percent(3) ? "nobody" : dice.Pick(kCases)) + "/>";
  return xml + "</Case>\n";
}

std::string Cases(Dice& dice) {
  std::string xml;
  for (std::size_t i = 0; i < kCases.size(); ++i) {
    if (dice.Percent(5)) continue;
    const std::string id = dice.Percent(6) ? dice.Pick(kCases) : kCases[i];
    xml += i < 6 ? SimpleCase(dice, id) : Combination(dice, id);
  }
  return xml;
}

/// Few of many documents are broken somewhere.
std::string Damaged(Dice& dice, std::string xml) {
  if (!dice.Percent(2)) return xml;
  switch (dice.Below(3)) {
    case 0:
      return xml.substr(0, dice.Below(xml.size()));
    case 1:
      return xml.erase(dice.Below(xml.size()), 1);
    default:
      return xml.insert(dice.Below(xml.size()), 1, '<');
  }
}

std::vector<std::string> LanguageNames(Dice& dice) {
  constexpr std::array kNames = {"de", "en", "fr", "de1", "de", "en"};
  std::vector<std::string> names = {dice.Pick(kNames)};
  for (std::size_t count = dice.Below(3); count > 0; --count)
    names.emplace_back(dice.Pick(kNames));
  return names;
}

std::string RandomDocument(Dice& dice) {
  std::vector<std::string> languages = LanguageNames(dice);
  std::string xml = dice.Percent(50) ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
  if (dice.Percent(5)) {
    xml += "<!DOCTYPE Station [<!ATTLIST Speech suffix CDATA '!'><!ENTITY e 'ent'>]>\n";
  }
  xml += "<Station>\n";
  if (!dice.Percent(1)) xml += References(dice, languages);
  if (dice.Percent(3)) languages.emplace_back("it");
  if (dice.Percent(3)) languages.pop_back();
  xml += "<Assembly>\n";
  const bool casesFirst = dice.Percent(50);
  if (casesFirst) xml += Cases(dice);
  if (!dice.Percent(1)) xml += Format(dice);
  for (const std::string& language : languages)
    xml += Sequence(dice, language);
  if (!casesFirst) xml += Cases(dice);
  return Damaged(dice, xml + "</Assembly>\n</Station>\n");
}

std::string RandomLexicon(Dice& dice) {
  constexpr std::array kWords = {"ICE",  "RE", "a", "b", "ba", "ab",   "9",   "12",       ":",
                                 "Köln", "ß",  "/", ".", "&",  "",     "Hbf", " ",        "*",
                                 "K",    "-",  "0", "1", "é",  "\xC3", "<",   "Intercity"};
  std::string text;
  for (std::size_t count = dice.Below(8); count > 0; --count) {
    if (dice.Percent(8)) text += "# remark\n";
    if (dice.Percent(5)) text += "faulty\n\n";
    const char* quote = dice.Percent(10) ? "'" : "\"";
    text += std::string(dice.Pick(kWords)) + "=" + quote + dice.Pick(kWords) + quote + "\n";
  }
  return text;
}

// ---- Blocks ----

std::string Row(Dice& dice) {
  std::string xml = "<row";
  for (const char* name : kAttributes) {
    if (!dice.Percent(88)) continue;
    xml += Attribute(name, dice.Percent(40) ? dice.Pick(kNumbers) : Value(dice));
  }
  return xml + (dice.Percent(90) ? "/>\n" : ">text</row>");
}

std::string RandomBlock(Dice& dice) {
  std::string xml = dice.Percent(10) ? "<!DOCTYPE b [<!ENTITY e \"entity\">]>\n" : "";
  xml += "<block>\n";
  for (std::size_t count = dice.Percent(4) ? 0 : 1 + dice.Below(4); count > 0; --count)
    xml += Row(dice);
  if (dice.Percent(3)) xml += "&e;";
  return xml + "</block>";
}

}  // namespace

std::vector<StationFile> RandomStationFiles(Dice& dice) {
  std::vector<StationFile> files = {{"station.xml", RandomDocument(dice)}};
  for (const char* lexicon : {"de/words", "de/signs", "en/words", "en/wide"})
    files.push_back({std::string("lexidata/") + lexicon, RandomLexicon(dice)});
  return files;
}

std::string RandomMessage(Dice& dice) {
  std::string message = RandomBlock(dice);
  if (dice.Percent(4)) message = Damaged(dice, Damaged(dice, Damaged(dice, message)));
  if (dice.Percent(3)) message.erase(dice.Below(message.size()), 1);
  if (dice.Percent(2)) message.insert(dice.Below(message.size()), "///");
  if (dice.Percent(1)) message.insert(dice.Below(message.size()), 1, '\0');
  if (dice.Percent(1)) message.insert(message.rfind('<'), 11'700 + dice.Below(400), ' ');
  if (dice.Percent(1)) message = dice.Percent(50) ? "" : "no block";
  constexpr std::array kEndings = {"", "\n", "///", "\r\n", "filler", "</", " /"};
  return message + dice.Pick(kEndings);
}

}  // namespace toolstest
