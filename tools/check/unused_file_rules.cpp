#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Rule kFile = {
    .Id = "unused-file",
    .Level = Severity::Hint,
    .Title = {"Eine Datei der Station, die niemand nennt",
              "A file of the station that nothing names"},
    .Problem = {"{0}", "{0}"},
    .Effect = {"Er öffnet sie nie.", "It never opens it."},
    .Advice = {"ein Element oder lexicon, das sie nennt, oder die Datei entfernen",
               "an element or lexicon that names it, or remove the file"},
    .Explanation = {
        "Gemeldet werden .wav-Dateien im Verzeichnis der Klänge ohne sound-Element, Dateien im "
        "Verzeichnis der vorbereiteten Reden ohne steady-Element der Sprache, und Lexika, die "
        "weder "
        "ein Speech noch die Konfiguration nennt.",
        "Reported are .wav files in the directory of sounds without a sound element, files in the "
        "directory of prepared speeches without a steady element of the language, and lexica that "
        "neither a Speech nor the configuration names."}};

constexpr Rule kRules[] = {kFile};

constexpr Bilingual kSound = {"diesen Klang nennt kein sound-Element",
                              "no sound element names this sound"};
constexpr Bilingual kSteady = {
    "diese vorbereitete Rede gehört zu keinem steady-Element von \"{0}\"",
    "this prepared speech belongs to no steady element of \"{0}\""};
constexpr Bilingual kLexicon = {
    "dieses Lexikon nennt weder ein Speech von \"{0}\" noch die "
    "Konfiguration",
    "neither a Speech of \"{0}\" nor the configuration names this "
    "lexicon"};

using Names = std::set<std::string>;

/// The visible files (or directories) of a directory by name; none if it cannot be read.
Names EntriesOf(const fs::path& directory, bool directories) {
  Names names;
  std::error_code unreadable;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, unreadable)) {
    std::error_code unknown;
    const bool fits = directories ? entry.is_directory(unknown) : entry.is_regular_file(unknown);
    const std::string name = entry.path().filename().string();
    if (fits && !name.starts_with('.')) names.insert(name);
  }
  return names;
}

/// The ids of elements with a trait, of a language and the shared one or of all.
Names IdsWithTrait(const std::vector<const Element*>& languages, std::string_view trait) {
  Names ids;
  for (const Element* language : languages) {
    if (language == nullptr) continue;
    for (const Element* element : language->ChildrenCalled("Element"))
      if (MayHaveTrait(*element, trait)) ids.insert(element->Value("id"));
  }
  return ids;
}

/// The configured directory, "" if there is none.
std::string DirectoryOf(const Station& station, const std::string& key) {
  const std::string value = station.Value(key);
  return value.empty() ? "" : station.Resolve(value);
}

void CheckSounds(const Station& station, const Document& document, Report& report) {
  const std::string directory = DirectoryOf(station, "nonvoicesounds");
  std::vector<const Element*> languages = NamedLanguages(document);
  languages.push_back(SharedLanguage(document));
  const Names ids = IdsWithTrait(languages, "sound");
  for (const std::string& name : EntriesOf(directory, false)) {
    const fs::path file = name;
    if (file.extension() != ".wav" || name == station.Value("bellfile")) continue;
    if (ids.contains(file.stem().string())) continue;
    AddFinding(report, kFile, {fs::path(directory) / name}, kSound(report.Lang()));
  }
}

void CheckSteady(const Station& station, const Document& document, Report& report) {
  const fs::path root = DirectoryOf(station, "steadyspeeches");
  for (const Element* language : NamedLanguages(document)) {
    const std::string name = language->Value("name");
    const Names ids = IdsWithTrait({language, SharedLanguage(document)}, "steady");
    for (const std::string& file : EntriesOf(root / name, false)) {
      if (ids.contains(fs::path(file).stem().string())) continue;
      AddFinding(report, kFile, {root / name / file}, Say(kSteady, report.Lang(), name));
    }
  }
}

/// The lexicon files that the configuration names, in the lists of references of spoken texts.
Names LexicaOfConfiguration(const Station& station) {
  Names files;
  for (const CkaProfile::ProfileEntry& entry : station.Profile().ProfValues)
    files.insert(station.Resolve("./lexidata/" + entry.value));
  return files;
}

void CheckLexica(const Station& station, const Document& document, Report& report) {
  Names used = LexicaOfConfiguration(station);
  for (const Element* language : SpokenLanguages(document)) {
    const std::string directory = station.LexiconDir(language->Value("name")) + "/";
    for (const Phrase& phrase : PhrasesOfLanguage(*language))
      used.insert(directory + phrase.Speech->Value("lexicon"));
  }
  for (const std::string& language : EntriesOf(fs::path(station.LexiconDir("")), true)) {
    const std::string directory = station.LexiconDir(language) + "/";
    for (const std::string& name : EntriesOf(directory, false)) {
      if (used.contains(directory + name)) continue;
      AddFinding(report, kFile, {directory + name}, Say(kLexicon, report.Lang(), language));
    }
  }
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr) return;
  // Without a section everything would be unused; that it is missing says another rule.
  if (input.Document->References() != nullptr) {
    CheckSounds(input.Station, *input.Document, report);
    CheckSteady(input.Station, *input.Document, report);
  }
  if (input.Document->Assembly() != nullptr) CheckLexica(input.Station, *input.Document, report);
}

}  // namespace

RuleGroup UnusedFileRules() {
  return {{"Unbenutzte Dateien", "Files that are not used"}, kRules, Check};
}

}  // namespace tools
