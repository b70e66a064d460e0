#include <iterator>
#include <set>
#include <string>

#include "check/configuration_keys.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kFaultyRow = {
    .Id = "config-row-faulty",
    .Level = Severity::Error,
    .Title = {"Eine Zeile der Konfiguration ist keine Zuweisung",
              "A row of the configuration is no assignment"},
    .Problem = {"\"{0}\" ist keine Zuweisung", "\"{0}\" is no assignment"},
    .Effect = {"Er meldet die Zeile beim Start und überspringt sie; den Schlüssel gibt es nicht.",
               "It reports the row at start and skips it; the key does not exist."},
    .Advice = {"NAME=\"WERT\" in einer Zeile, der Wert in Anführungszeichen; Bemerkungen beginnen "
               "mit #",
               "NAME=\"VALUE\" in one row, the value in quotes; remarks begin with #"},
    .Explanation = {
        "Jede Zeile, die weder leer ist noch mit # oder [ beginnt, muss eine Zuweisung sein: ein "
        "Name, \"=\" und ein Wert in Anführungszeichen. Ein Wert ohne Anführungszeichen gilt "
        "nicht, "
        "ebenso wenig ein Wert in einfachen Anführungszeichen, der ein doppeltes enthält.",
        "Every row that is neither empty nor begins with # or [ must be an assignment: a name, "
        "\"=\" and a value in quotes. A value without quotes does not count, nor does one in "
        "single "
        "quotes that holds a double quote."}};

constexpr Rule kMissingKey = {
    .Id = "config-key-missing",
    .Level = Severity::Error,
    .Title = {"Ein Schlüssel fehlt in der Konfiguration", "A key is missing in the configuration"},
    .Problem = {"der Schlüssel \"{0}\" fehlt", "the key \"{0}\" is missing"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"eine Zeile {0}=\"...\"", "a row {0}=\"...\""},
    .Explanation = {
        "Einen Schlüssel, den es nicht gibt, liest der Server als leeren Text. Er meldet das nur "
        "als \"Not Found\" zwischen seinen übrigen Ausgaben. Zwei Schlüssel enden mit dem Wert von "
        "engineName: speakout... und savespeech...",
        "A key that does not exist is read as an empty text. The server says so only as \"Not "
        "Found\" among its other output. Two keys end in the value of engineName: speakout... and "
        "savespeech..."}};

constexpr Rule kEmptyValue = {
    .Id = "config-value-empty",
    .Level = Severity::Error,
    .Title = {"Ein Schlüssel der Konfiguration ist leer", "A key of the configuration is empty"},
    .Problem = {"der Schlüssel \"{0}\" ist leer", "the key \"{0}\" is empty"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"einen Wert zwischen die Anführungszeichen", "a value between the quotes"},
    .Explanation = {
        "Ein leerer Wert ist dasselbe wie ein fehlender Schlüssel. Ein leeres Verzeichnis ist "
        "nicht "
        "das des Servers, sondern \"/\": Dateinamen werden mit einem Schrägstrich angehängt.",
        "An empty value is the same as a missing key. An empty directory is not the server's own "
        "but \"/\": names of files are appended with a slash."}};

constexpr Rule kUnknownKey = {
    .Id = "config-key-unknown",
    .Level = Severity::Warning,
    .Title = {"Ein Schlüssel der Konfiguration ist unbekannt",
              "A key of the configuration is unknown"},
    .Problem = {"der Schlüssel \"{0}\" ist unbekannt{1}", "the key \"{0}\" is unknown{1}"},
    .Effect = {"Er fragt nie danach.", "It never asks for it."},
    .Advice = {"einen Schlüssel in der Schreibweise der mitgelieferten Konfiguration, oder # vor "
               "die Zeile",
               "a key as the shipped configuration spells it, or # in front of the row"},
    .Explanation = {
        "Schlüssel werden genau verglichen, auch in Groß- und Kleinschreibung. Schlüssel anderer "
        "Sprachmaschinen, also alle, die mit speakout oder savespeech beginnen, sind erlaubt.",
        "Keys are compared exactly, including upper and lower case. Keys of other engines, that is "
        "all that begin with speakout or savespeech, are allowed."}};

constexpr Rule kBlankKey = {
    .Id = "config-key-blank",
    .Level = Severity::Error,
    .Title = {"Vor dem \"=\" steht ein Leerzeichen", "There is a blank before the \"=\""},
    .Problem = {"zwischen \"{0}\" und \"=\" steht ein Leerzeichen",
                "there is a blank between \"{0}\" and \"=\""},
    .Effect = {"Das Leerzeichen gehört für ihn zum Namen: Den Schlüssel \"{0}\" gibt es nicht.",
               "The blank belongs to the name: the key \"{0}\" does not exist."},
    .Advice = {"{0}=\"...\" ohne Leerzeichen", "{0}=\"...\" without a blank"},
    .Explanation = {
        "Der Name ist alles vor dem ersten \"=\", Leerzeichen am Ende eingeschlossen. Leerzeichen "
        "am Anfang der Zeile und hinter dem \"=\" schaden nicht.",
        "The name is everything before the first \"=\", blanks at its end included. Blanks at the "
        "beginning of the row and behind the \"=\" do no harm."}};

constexpr Rule kKeyTwice = {
    .Id = "config-key-twice",
    .Level = Severity::Warning,
    .Title = {"Ein Schlüssel steht zweimal in der Konfiguration",
              "A key stands twice in the configuration"},
    .Problem = {"der Schlüssel \"{0}\" steht schon in Zeile {1}",
                "the key \"{0}\" stands in line {1} already"},
    .Effect = {"Die erste Zeile gilt, diese nicht.", "The first row counts, this one does not."},
    .Advice = {"nur eine Zeile für jeden Schlüssel", "one row only for each key"},
    .Explanation = {"Von mehreren Zeilen eines Namens gilt immer die erste.",
                    "Of several rows of one name it is always the first that counts."}};

constexpr Rule kRules[] = {kFaultyRow, kMissingKey, kEmptyValue, kUnknownKey, kBlankKey, kKeyTwice};

/// Looks at the rows one by one.
class RowCheck {
 public:
  RowCheck(const std::vector<ConfigurationKey>& needed, const ProfileFile& file, Report& report)
      : known_(NamesOf(needed)), suggestions_(known_), file_(file), report_(report) {}

  void Look(const ProfileRow& row) {
    const std::string name = WithoutTrailingBlanks(row.Name);
    if (row.bFaulty) {
      AddFinding(report_, kFaultyRow, file_.At(row), name);
    } else if (!IsKnown(name)) {
      AddFinding(report_, kUnknownKey, file_.At(row), name,
                 suggestions_.Question(name, report_.Lang()));
    } else if (name != row.Name) {
      AddFinding(report_, kBlankKey, file_.At(row), name);
    } else if (const ProfileRow* first = file_.Find(name); first != &row) {
      AddFinding(report_, kKeyTwice, file_.At(row), name, first->Line);
    }
  }

 private:
  static std::set<std::string> NamesOf(const std::vector<ConfigurationKey>& needed) {
    std::set<std::string> names = {"playprefix", "playsuffix"};
    for (const ConfigurationKey& key : needed)
      names.insert(key.Name);
    names.insert(std::begin(kPortKeys), std::end(kPortKeys));
    return names;
  }

  bool IsKnown(const std::string& name) const {
    return known_.contains(name) || name.starts_with(kSpeakKey) || name.starts_with(kSaveKey);
  }

  std::set<std::string> known_;
  Suggestions suggestions_;
  const ProfileFile& file_;
  Report& report_;
};

void Check(const CheckInput& input, Report& report) {
  const ProfileFile file(input.Station.Config());
  const auto needed = NeededKeys(input.Station.Value("engineName"));
  RowCheck rows(needed, file, report);
  for (const ProfileRow& row : file.Rows())
    rows.Look(row);
  for (const ConfigurationKey& key : needed) {
    const ProfileRow* row = file.Find(key.Name);
    const std::string_view effect = key.Without(report.Lang());
    if (row != nullptr && row->Value.empty()) {
      AddFinding(report, kEmptyValue, file.ValueAt(*row), key.Name, effect);
    } else if (row == nullptr && !file.Mentions(key.Name)) {
      AddFinding(report, kMissingKey, file.At(), key.Name, effect);
    }
  }
}

}  // namespace

RuleGroup ConfigurationRules() {
  return {{"Die Konfiguration", "The configuration"}, kRules, Check};
}

}  // namespace tools
