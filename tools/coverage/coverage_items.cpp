#include "coverage/coverage_items.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace tools {

namespace {

constexpr std::string_view kSharedLanguage = "all";

struct KindNames {
  std::string_view Key;
  Bilingual Title;
  Bilingual Singular;
};

/// In the order of the enumerators.
constexpr std::array kNames = {
    KindNames{"announcements", {"Ansagen", "announcements"}, {"Ansage", "announcement"}},
    KindNames{"phrases", {"Phrasen", "phrases"}, {"Phrase", "phrase"}},
    KindNames{"casesTrue", {"Fälle: wahr", "cases: true"}, {"Fall, wahr", "case, true"}},
    KindNames{"casesFalse", {"Fälle: falsch", "cases: false"}, {"Fall, falsch", "case, false"}},
    KindNames{"attributes", {"Attribute", "attributes"}, {"Attribut", "attribute"}},
    KindNames{"elements", {"Elemente", "elements"}, {"Element", "element"}},
    KindNames{"lexiconEntries",
              {"Lexikoneinträge", "lexicon entries"},
              {"Lexikoneintrag", "lexicon entry"}}};

const KindNames& NamesOf(ItemKind kind) {
  return kNames.at(static_cast<std::size_t>(kind));
}

std::vector<int> LineRange(int first, int last) {
  std::vector<int> lines(static_cast<std::size_t>(std::max(last - first + 1, 1)));
  std::iota(lines.begin(), lines.end(), first);
  return lines;
}

/// The phrases of an announcement that the server reads, in its order.
std::vector<const Element*> ReadSpeeches(const Element& announcement) {
  std::vector<const Element*> speeches;
  for (const Element* child : announcement.Children) {
    if (child->bLastNode) continue;
    if (child->Name == "Speech") speeches.push_back(child);
    if (child->Name != "Condition") continue;
    const auto conditional = child->ChildrenCalled("Speech");
    speeches.insert(speeches.end(), conditional.begin(), conditional.end());
  }
  return speeches;
}

/// All that an author would take for a phrase: also what the server does not read.
std::vector<const Element*> WrittenSpeeches(const Element& announcement) {
  std::vector<const Element*> speeches;
  for (const Element* child : announcement.Children) {
    if (child->Name == "Speech") speeches.push_back(child);
    if (child->Name != "Condition") continue;
    std::copy_if(child->Children.begin(), child->Children.end(), std::back_inserter(speeches),
                 [](const Element* inner) { return inner->Name == "Speech"; });
  }
  return speeches;
}

/// For each Case of the document whether the server takes it as a test on a value.
std::vector<bool> AcceptedTests(const Document& document) {
  std::vector<bool> accepted;
  Silently([&] {
    CkaCases reader;
    reader.Initialize(document.File().string(), false, false);
    reader.SetMainNodes();
    for (xmlpp::Node* node : reader.FindNodes(reader.pAssemNode, "Case")) {
      CkaCases::kaCaseStruct record;
      accepted.push_back(reader.AttributeExists(node, "substr")
                             ? reader.ReadForSubstr(record, node)
                             : reader.AttributeExists(node, "strlen") &&
                                   reader.ReadForStrlen(record, node));
    }
  });
  return accepted;
}

std::vector<std::string> ReferencesOf(const Element& combination) {
  std::vector<std::string> references;
  for (const Element* part : combination.ChildrenCalled("Case"))
    references.push_back(part->Value("ref"));
  return references;
}

/// The numbers that the Case elements have in the server's list; -1 for one that it has not taken.
/// The tests stand there in the order of the document, the combinations by their references.
std::vector<int> CaseNumbers(const std::vector<const Element*>& elements,
                             const std::vector<bool>& accepted, const CkaCases& cases) {
  std::vector<int> numbers(elements.size(), -1);
  std::unordered_map<std::string, std::vector<std::size_t>> combinations;
  int number = 0;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (accepted.at(i)) {
      numbers[i] = number++;
    } else {
      combinations[elements[i]->Value("id")].push_back(i);
    }
  }
  for (; number < cases.GetCaseCount(); ++number) {
    const CkaCases::kaCaseStruct& record = cases.GetCaseAt(number);
    const std::vector<std::size_t>& candidates = combinations[record.Id];
    const auto found =
        std::find_if(candidates.begin(), candidates.end(), [&](std::size_t candidate) {
          return ReferencesOf(*elements[candidate]) == record.CaseRefs;
        });
    if (found == candidates.end()) throw std::logic_error("a case without an element");
    numbers[*found] = number;
  }
  return numbers;
}

}  // namespace

std::string_view KeyOf(ItemKind kind) {
  return NamesOf(kind).Key;
}

std::string_view TitleOf(ItemKind kind, Language language) {
  return NamesOf(kind).Title(language);
}

std::string_view SingularOf(ItemKind kind, Language language) {
  return NamesOf(kind).Singular(language);
}

CoverageItems::CoverageItems(const Station& station, const Document& document,
                             const CkaSpeechbuilder& builder)
    : document_(document) {
  AddLanguages(builder.SpeechGen);
  AddCases(builder.CaseData);
  AddAttributes();
  AddElements();
  AddLexica(station, builder);
}

const std::size_t* CoverageItems::FindElement(const std::string& language,
                                              const std::string& id) const {
  const auto elements = elements_.find(language);
  if (elements == elements_.end()) return nullptr;
  const auto element = elements->second.find(id);
  return element == elements->second.end() ? nullptr : &element->second;
}

const UsedLexicon* CoverageItems::FindLexicon(const std::string& path) const {
  const auto found = lexicaByPath_.find(path);
  return found == lexicaByPath_.end() ? nullptr : &Lexica[found->second];
}

std::size_t CoverageItems::Add(ItemKind kind, std::string name, const Element& element) {
  CoverageItem& item = All.emplace_back();
  item.Kind = kind;
  item.Name = std::move(name);
  item.Where = {document_.File(), element.At.Line, element.At.Column};
  item.Lines = LineRange(element.At.Line, element.EndLine);
  return All.size() - 1;
}

// ---- Announcements and their phrases ----

void CoverageItems::AddLanguages(const CkaSpeechGen& sequence) {
  const auto languages = document_.Assembly()->ChildrenCalled("Language");
  Announcements.resize(languages.size());
  Phrases.resize(languages.size());
  for (std::size_t l = 0; l < languages.size(); ++l) {
    const auto announcements = languages[l]->ChildrenCalled("Announcement");
    for (std::size_t a = 0; a < announcements.size(); ++a) {
      const int language = static_cast<int>(l);
      const int index = static_cast<int>(a);
      AddAnnouncement(*announcements[a], language, index, sequence.AnnouncementAt(language, index));
    }
  }
}

void CoverageItems::AddAnnouncement(const Element& announcement, int language, int index,
                                    const CkaSpeechGen::kaTTSAnnouncement& read) {
  const auto l = static_cast<std::size_t>(language);
  const std::size_t item =
      Add(ItemKind::Announcement,
          announcement.Parent->Value("name") + " " + std::to_string(read.Position), announcement);
  All[item].Lines = {announcement.At.Line, announcement.EndLine};
  All[item].Language = language;
  All[item].Number = index;
  Announcements[l].push_back(item);

  auto& phrases = Phrases[l].emplace_back();
  const std::vector<const Element*> taken = ReadSpeeches(announcement);
  if (taken.size() != read.Phrases.size()) throw std::logic_error("a phrase without an element");
  for (const Element* speech : WrittenSpeeches(announcement)) {
    const auto place = std::find(taken.begin(), taken.end(), speech);
    const bool isTaken = place != taken.end();
    const int number = isTaken ? static_cast<int>(place - taken.begin()) : -1;
    const std::size_t phrase = AddPhrase(*speech, language, index, number);
    if (isTaken) phrases.push_back(phrase);
  }
}

std::size_t CoverageItems::AddPhrase(const Element& speech, int language, int announcement,
                                     int number) {
  const Element& parent = *speech.Parent;
  const std::size_t item = Add(ItemKind::Phrase, speech.Value("id"), speech);
  All[item].Language = language;
  All[item].Announcement = announcement;
  All[item].Number = number;
  if (parent.Name != "Condition") return item;
  All[item].Name += " (" + parent.Value("name") + ")";
  All[item].Lines.push_back(parent.At.Line);
  All[item].Lines.push_back(parent.EndLine);
  return item;
}

// ---- Cases ----

void CoverageItems::AddCases(const CkaCases& cases) {
  const auto elements = document_.Assembly()->ChildrenCalled("Case");
  const std::vector<int> numbers = CaseNumbers(elements, AcceptedTests(document_), cases);
  Cases.resize(static_cast<std::size_t>(cases.GetCaseCount()));
  for (std::size_t i = 0; i < elements.size(); ++i)
    AddCase(*elements[i], numbers[i]);
}

void CoverageItems::AddCase(const Element& element, int number) {
  const std::size_t holds = Add(ItemKind::CaseTrue, element.Value("id"), element);
  const std::size_t holdsNot = Add(ItemKind::CaseFalse, element.Value("id"), element);
  All[holds].Number = number;
  All[holdsNot].Number = number;
  if (number >= 0) Cases[static_cast<std::size_t>(number)] = holds;
}

// ---- Attributes and elements ----

void CoverageItems::AddAttributes() {
  for (const Element* attribute : document_.Format()->ChildrenCalled("Attribute")) {
    const std::size_t item = Add(ItemKind::Attribute, attribute->Value("name"), *attribute);
    All[item].Number = static_cast<int>(Attributes.size());
    Attributes.push_back(item);
  }
}

void CoverageItems::AddElements() {
  std::map<std::string, std::size_t> shared;
  for (const Element* language : document_.References()->ChildrenCalled("Language")) {
    const std::string name = language->Value("name");
    // The last language of a name stands alone.
    auto& elements = name == kSharedLanguage ? shared : elements_[name];
    elements.clear();
    for (const Element* element : language->ChildrenCalled("Element")) {
      const std::string id = element->Value("id");
      elements[id] = Add(ItemKind::Element, id, *element);
    }
  }
  // What the languages share wins over their own.
  for (auto& [name, elements] : elements_) {
    for (const auto& [id, item] : shared)
      elements[id] = item;
  }
}

// ---- Lexica ----

void CoverageItems::AddLexica(const Station& station, const CkaSpeechbuilder& builder) {
  constexpr std::size_t kShortestName = 2;
  for (const auto& language : builder.SpeechGen.Languages) {
    for (const auto& announcement : language.Announcements) {
      for (const auto& phrase : announcement.Phrases) {
        const int trait = builder.SpeechFormat.GetElementTrait(language.Name, phrase.RefId);
        if (trait != CkaSpeechFormat::_KAStemp || phrase.Lexicon.size() < kShortestName) continue;
        AddLexicon(station.Resolve("./lexidata/" + language.Name + "/" + phrase.Lexicon));
      }
    }
  }
}

void CoverageItems::AddLexicon(const std::string& path) {
  if (!lexicaByPath_.emplace(path, Lexica.size()).second) return;
  UsedLexicon& lexicon = Lexica.emplace_back();
  lexicon.Path = path;
  lexicon.bExists = std::filesystem::is_regular_file(path);
  if (!lexicon.bExists) return;
  const std::string text = Read(path) + "\n";
  CkaProfile rows;
  int line = 1;
  for (std::size_t pos = 0; pos < text.size(); ++line) {
    const std::size_t end = text.find('\n', pos);
    if (rows.CheckRow(text.substr(pos, end - pos)) == 1) {
      CoverageItem& item = All.emplace_back();
      item.Kind = ItemKind::LexiconEntry;
      item.Name = rows.GetVarName(rows.GetVarCount() - 1);
      item.Where = {path, line, 0};
      item.Lines = {line};
      item.Number = rows.GetVarCount() - 1;
      lexicon.Entries.push_back(All.size() - 1);
    }
    pos = end + 1;
  }
}

}  // namespace tools
