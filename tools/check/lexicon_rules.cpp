#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "check/file_access.h"
#include "check/lexicon_index.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"
#include "check/sample_blocks.h"
#include "check/suggestions.h"
#include "kaFile.h"

namespace tools {

namespace {

constexpr Rule kMissing = {
    .Id = "lexicon-missing",
    .Level = Severity::Error,
    .Title = {"Ein Lexikon fehlt", "A lexicon is missing"},
    .Problem = {"das Lexikon \"{0}\" gibt es für die Sprache \"{1}\" nicht{2}",
                "the language \"{1}\" has no lexicon \"{0}\"{2}"},
    .Effect = {"Er spricht den Wert, wie er in den Daten steht.",
               "It speaks the value as it stands in the data."},
    .Advice = {"den Namen einer Datei in lexidata/{1}", "the name of a file in lexidata/{1}"},
    .Explanation = {
        "Ein Lexikon ist die Datei dieses Namens in lexidata/SPRACHE; die Sprache ist die der "
        "Ansage. Fehlt die Datei, so wird kein Wort ersetzt, ohne dass die Ansage anhält. Gemeldet "
        "wird die erste Phrase, die das Lexikon benutzt.",
        "A lexicon is the file of this name in lexidata/LANGUAGE; the language is that of the "
        "announcement. If the file is missing, no word is replaced, and the announcement does not "
        "stop. Reported is the first phrase that uses the lexicon."}};

constexpr Rule kUnreadable = {
    .Id = "lexicon-unreadable",
    .Level = Severity::Error,
    .Title = {"Ein Lexikon kann nicht gelesen werden", "A lexicon cannot be read"},
    .Problem = {"das Lexikon \"{0}\" der Sprache \"{1}\" kann nicht gelesen werden",
                "the lexicon \"{0}\" of the language \"{1}\" cannot be read"},
    .Effect = {"Er nimmt es für leer und spricht den Wert, wie er in den Daten steht.",
               "It takes it for empty and speaks the value as it stands in the data."},
    .Advice = {"eine gewöhnliche Datei mit Leserecht in lexidata/{1}",
               "a regular file in lexidata/{1} that may be read"},
    .Explanation = {
        "Die Datei ist da, aber sie ist ein Verzeichnis, oder ihr fehlt das Leserecht.",
        "The file is there, but it is a directory, or it lacks the permission to be read."}};

constexpr Rule kShortName = {
    .Id = "lexicon-name-short",
    .Level = Severity::Warning,
    .Title = {"Der Name eines Lexikons hat nur ein Zeichen",
              "The name of a lexicon has one character only"},
    .Problem = {"der Name \"{0}\" hat nur ein Zeichen", "the name \"{0}\" has one character only"},
    .Effect = {"Er benutzt kein Lexikon und spricht den Wert, wie er in den Daten steht.",
               "It uses no lexicon and speaks the value as it stands in the data."},
    .Advice = {"einen längeren Namen, oder lexicon=\"-\", wenn keins gemeint ist",
               "a longer name, or lexicon=\"-\" if none is meant"},
    .Explanation = {
        "Ein Name von einem Zeichen schaltet das Lexikon ab. Ein Satzzeichen gilt hier als "
        "Absicht, "
        "wenn es keine Datei dieses Namens gibt.",
        "A name of one character switches the lexicon off. A punctuation mark is taken as meant "
        "that way if there is no file of that name."}};

constexpr Rule kFaultyRow = {
    .Id = "lexicon-row-faulty",
    .Level = Severity::Warning,
    .Title = {"Eine Zeile eines Lexikons ist keine Zuweisung",
              "A row of a lexicon is no assignment"},
    .Problem = {"\"{0}\" ist keine Zuweisung", "\"{0}\" is no assignment"},
    .Effect = {"Er meldet die Zeile und überspringt sie: Das Wort wird nicht ersetzt.",
               "It reports the row and skips it: the word is not replaced."},
    .Advice = {"WORT=\"ERSATZ\", der Ersatz in Anführungszeichen",
               "WORD=\"REPLACEMENT\", the replacement in quotes"},
    .Explanation = {
        "Lexika haben das Format der Konfiguration: Jede Zeile, die weder leer ist noch mit # oder "
        "[ beginnt, ist ein Wort, \"=\" und der Ersatz in Anführungszeichen. Ein Wort kann nicht "
        "mit "
        "\"=\", # oder [ beginnen.",
        "Lexica have the format of the configuration: every row that is neither empty nor begins "
        "with # or [ is a word, \"=\" and the replacement in quotes. A word cannot begin with "
        "\"=\", # or [."}};

constexpr Rule kShadowed = {
    .Id = "lexicon-entry-shadowed",
    .Level = Severity::Warning,
    .Title = {"Ein Eintrag eines Lexikons kommt nie zum Zug",
              "An entry of a lexicon never applies"},
    .Problem = {"\"{0}\" kommt nie zum Zug: \"{1}\" in Zeile {2} steht davor",
                "\"{0}\" never applies: \"{1}\" in line {2} comes first"},
    .Effect = {"Er ersetzt immer schon \"{1}\"; was er eingesetzt hat, ersetzt er nicht noch "
               "einmal.",
               "It always replaces \"{1}\" before; what it has put in is not replaced again."},
    .Advice = {"diese Zeile vor Zeile {2}, oder sie weglassen",
               "this row before line {2}, or leave it out"},
    .Explanation = {
        "Die Einträge werden in der Reihenfolge der Datei angewandt, und ersetzter Text ist "
        "geschützt. Ein Wort, das ein früheres enthält oder ihm gleicht, findet sich danach nicht "
        "mehr. Lange Wörter gehören also vor die kurzen, die in ihnen stecken.",
        "Entries are applied in the order of the file, and replaced text is protected. A word that "
        "holds an earlier one, or equals it, is then not found any more. Long words therefore "
        "belong before the short ones that they hold."}};

constexpr Rule kInsideWord = {
    .Id = "lexicon-entry-inside-word",
    .Level = Severity::Warning,
    .Title = {"Ein Eintrag eines Lexikons trifft mitten in längeren Wörtern",
              "An entry of a lexicon matches inside longer words"},
    .Problem = {"\"{0}\" trifft auch in \"{1}\" ({2})", "\"{0}\" matches in \"{1}\" as well ({2})"},
    .Effect = {"Er ersetzt auch diesen Teil des längeren Wortes.",
               "It replaces this part of the longer word, too."},
    .Advice = {"davor eine Zeile, die das längere Wort durch sich selbst ersetzt und so schützt: "
               "{1}=\"{1}\"",
               "a row before it that replaces the longer word by itself and so protects it: "
               "{1}=\"{1}\""},
    .Explanation = {
        "Wörter werden überall im Wert gefunden, auch mitten in längeren Wörtern und Zahlen. "
        "Geprüft wird an bekannten Werten: denen der Beispielblöcke und den Wörtern des "
        "gleichnamigen Lexikons der anderen Sprachen. Ein Wort, das mit einem Kleinbuchstaben "
        "beginnt, gilt als Endung und darf hinter anderen Buchstaben stehen.",
        "Words are found anywhere in the value, inside longer words and numbers as well. Looked at "
        "are known values: those of the sample blocks and the words of the lexicon of the same "
        "name in the other languages. A word that begins with a small letter is taken as an ending "
        "and may follow other letters."}};

constexpr Rule kRules[] = {kMissing, kUnreadable, kShortName, kFaultyRow, kShadowed, kInsideWord};

constexpr Bilingual kInLexicon = {"steht in lexidata/{0}/{1}", "stands in lexidata/{0}/{1}"};

/// The phrases that speak values with one lexicon.
struct Use {
  const Element* First = nullptr;
  std::set<std::string> Attributes;  ///< of a row: whose values it is applied to
};

/// A word and where it comes from.
using Vocabulary = std::map<std::string, std::string>;

std::vector<CkaProfile::ProfileEntry> EntriesOf(const std::vector<ProfileRow>& rows) {
  std::vector<CkaProfile::ProfileEntry> entries(rows.size());
  std::transform(rows.begin(), rows.end(), entries.begin(), [](const ProfileRow& row) {
    return CkaProfile::ProfileEntry{row.Name, row.Value};
  });
  return entries;
}

/// Adds the values of a row that a lexicon is applied to.
void AddValues(Vocabulary& words, const std::map<std::string, std::string>& row, const Use& use,
               const std::string& origin) {
  for (const auto& [attribute, value] : row)
    if (use.Attributes.contains(attribute)) words.emplace(value, origin);
}

class LexiconCheck {
 public:
  LexiconCheck(const CheckInput& input, Report& report)
      : input_(input), report_(report), blocks_(SampleBlocks(input.Station)) {}

  void Run() {
    const Element* assembly = input_.Document->Assembly();
    if (assembly == nullptr) return;
    for (const Element* language : assembly->ChildrenCalled("Language")) {
      for (const Element* announcement : language->ChildrenCalled("Announcement"))
        CollectFrom(*announcement, language->Value("name"));
    }
    for (const auto& [key, use] : uses_)
      CheckUse(key.first, key.second, use);
  }

 private:
  using Key = std::pair<std::string, std::string>;  ///< language and name of the lexicon

  Place PlaceOf(const Element& speech) const {
    const SourcePosition at = speech.ValueAt("lexicon");
    return {input_.Document->File(), at.Line, at.Column};
  }

  std::string PathOf(const std::string& language, const std::string& name) const {
    return input_.Station.LexiconDir(language) + "/" + name;
  }

  void CollectFrom(const Element& parent, const std::string& language) {
    for (const Element* child : parent.Children) {
      if (child->Name == "Condition") CollectFrom(*child, language);
      if (child->Name == "Speech") Collect(*child, language);
    }
  }

  /// Only values are spoken with a lexicon.
  void Collect(const Element& speech, const std::string& language) {
    const std::string name = speech.Value("lexicon");
    const std::string id = speech.Value("id");
    const int trait = input_.Readers->References.GetElementTrait(language, id);
    if (name.empty() || trait != CkaSpeechFormat::_KAStemp) return;
    if (name.size() == 1) {
      const bool isName = std::isalnum(static_cast<unsigned char>(name[0])) != 0;
      if (isName || CkaFile().FileExists(PathOf(language, name)))
        AddFinding(report_, kShortName, PlaceOf(speech), name);
      return;
    }
    Use& use = uses_[{language, name}];
    if (use.First == nullptr) use.First = &speech;
    const int attribute = input_.Readers->Format.FindAssignedAttribute(id);
    if (attribute >= 0) use.Attributes.insert(input_.Readers->Format.GetAttributeNameAt(attribute));
  }

  void CheckUse(const std::string& language, const std::string& name, const Use& use) {
    const std::string path = PathOf(language, name);
    if (!CkaFile().FileExists(path)) {
      AddFinding(report_, kMissing, PlaceOf(*use.First), name, language,
                 FilesIn(language).Question(name, report_.Lang()));
    } else if (!IsReadableFile(path)) {
      AddFinding(report_, kUnreadable, PlaceOf(*use.First), name, language);
    } else {
      CheckFile(ProfileFile(path), KnownWords(language, name, use));
    }
  }

  Suggestions FilesIn(const std::string& language) const {
    std::set<std::string> names;
    std::error_code none;
    const std::string directory = input_.Station.LexiconDir(language);
    for (const auto& entry : std::filesystem::directory_iterator(directory, none))
      names.insert(entry.path().filename().string());
    return Suggestions(std::move(names));
  }

  Vocabulary KnownWords(const std::string& language, const std::string& name,
                        const Use& use) const {
    Vocabulary words;
    for (const SampleBlock& block : blocks_) {
      for (const auto& row : block.Rows)
        AddValues(words, row, use, report_.DisplayName(block.File));
    }
    for (const auto& [key, other] : uses_) {
      const std::string path = PathOf(key.first, key.second);
      if (key.second != name || key.first == language || !IsReadableFile(path)) continue;
      const ProfileFile file(path);
      for (const ProfileRow& row : file.Rows()) {
        if (!row.bFaulty)
          words.emplace(row.Name, Say(kInLexicon, report_.Lang(), key.first, key.second));
      }
    }
    return words;
  }

  void CheckFile(const ProfileFile& file, const Vocabulary& known) {
    std::vector<ProfileRow> rows;
    for (const ProfileRow& row : file.Rows()) {
      if (row.bFaulty) {
        AddFinding(report_, kFaultyRow, file.At(row), row.Name);
      } else {
        rows.push_back(row);
      }
    }
    const auto entries = EntriesOf(rows);
    for (const ShadowedEntry& entry : ShadowedEntries(entries)) {
      const ProfileRow& earlier = rows[entry.Earlier];
      AddFinding(report_, kShadowed, file.At(rows[entry.Entry]), rows[entry.Entry].Name,
                 earlier.Name, earlier.Line);
    }
    CheckWords(file, rows, kaLexicon(entries), known);
  }

  /// Reports each entry once, with the first word that shows it.
  void CheckWords(const ProfileFile& file, const std::vector<ProfileRow>& rows,
                  const kaLexicon& lexicon, const Vocabulary& known) {
    std::set<std::size_t> reported;
    for (const auto& [text, origin] : known) {
      for (const WordPart& part : ReplacedWordParts(lexicon, text)) {
        const ProfileRow& row = rows[part.Entry];
        if (!reported.insert(part.Entry).second) continue;
        AddFinding(report_, kInsideWord, file.At(row), row.Name, part.Word, origin);
      }
    }
  }

  const CheckInput& input_;
  Report& report_;
  std::vector<SampleBlock> blocks_;
  std::map<Key, Use> uses_;
};

void Check(const CheckInput& input, Report& report) {
  if (input.Document != nullptr) LexiconCheck(input, report).Run();
}

}  // namespace

RuleGroup LexiconRules() {
  return {{"Lexika", "Lexica"}, kRules, Check};
}

}  // namespace tools
