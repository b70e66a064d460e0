#include <algorithm>
#include <string>

#include "check/configuration_keys.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Rule kPath = {
    .Id = "shell-path",
    .Level = Severity::Error,
    .Title = {"Ein Pfad enthält ein Leerzeichen oder ein Zeichen der Shell",
              "A path holds a blank or a character of the shell"},
    .Problem = {"\"{0}\" enthält {1}", "\"{0}\" holds {1}"},
    .Effect = {"Er setzt den Pfad ohne Anführungszeichen in Befehle der Shell ein: Sie meinen "
               "andere Dateien, und nichts wird gesprochen.",
               "It puts the path without quotes into commands of the shell: they mean other files, "
               "and nothing is spoken."},
    .Advice = {"einen Pfad aus Buchstaben, Ziffern und / . _ + , : @ -",
               "a path of letters, digits and / . _ + , : @ -"},
    .Explanation = {
        "rootDir, engineName, storetempram, playtempram und steadyspeeches stehen ohne "
        "Anführungszeichen in den Befehlen cd, cp, rm, find und aplay und hinter der "
        "Sprachmaschine. Ein Leerzeichen teilt den Namen, andere Zeichen führen etwas aus.",
        "rootDir, engineName, storetempram, playtempram and steadyspeeches stand without quotes in "
        "the commands cd, cp, rm, find and aplay and behind the engine. A blank splits the name, "
        "other characters carry something out."}};

constexpr Rule kQuotedPath = {
    .Id = "shell-quoted-path",
    .Level = Severity::Error,
    .Title = {"Der Pfad der Klingel enthält ein Zeichen, das auch in Anführungszeichen gilt",
              "The bell's path holds a character that counts within quotes"},
    .Problem = {"\"{0}\" enthält {1}", "\"{0}\" holds {1}"},
    .Effect =
        {"Die Shell deutet das Zeichen: Auf \"!bell\" wird eine andere Datei gesucht oder ein "
         "Befehl ausgeführt.",
         "The shell interprets the character: upon \"!bell\" another file is looked for or a "
         "command is carried out."},
    .Advice = {"einen Namen ohne \" $ ` und \\", "a name without \" $ ` and \\"},
    .Explanation = {
        "Die Klingel wird mit aplay \"PFAD\" gespielt. Leerzeichen schaden in den "
        "Anführungszeichen nicht, wohl aber \" $ ` und \\.",
        "The bell is played by aplay \"PATH\". Blanks do no harm within the quotes, but \" $ ` and "
        "\\ do."}};

constexpr Rule kCommand = {
    .Id = "shell-command",
    .Level = Severity::Warning,
    .Title = {"Der Befehl der Sprachmaschine enthält ein Zeichen der Shell",
              "The engine's command holds a character of the shell"},
    .Problem = {"der Befehl enthält {0}", "the command holds {0}"},
    .Effect = {"Die Shell deutet das Zeichen; der Text oder die Dateinamen dahinter erreichen die "
               "Sprachmaschine nicht wie gedacht.",
               "The shell interprets the character; the text or the names of files behind it do "
               "not reach the engine as meant."},
    .Advice = {"ein Programm und seine Optionen; was mehr Shell braucht, gehört in ein Skript",
               "a program and its options; what needs more of a shell belongs into a script"},
    .Explanation = {
        "Der Server hängt den Text oder die Dateinamen an den Wert von speakout... und "
        "savespeech... an und übergibt die Zeile der Shell. Ein Befehl, der mit ; & | < > # ` $ "
        "oder einem offenen Anführungszeichen weitergeht, bekommt sie nicht.",
        "The server appends the text or the names of files to the value of speakout... and "
        "savespeech... and hands the line to the shell. A command that goes on with ; & | < > # ` "
        "$ or an open quote does not get them."}};

constexpr Rule kName = {
    .Id = "shell-name",
    .Level = Severity::Error,
    .Title = {"Ein Name des Dokuments enthält ein Leerzeichen oder ein Zeichen der Shell",
              "A name of the document holds a blank or a character of the shell"},
    .Problem = {"der Name \"{0}\" enthält {1}", "the name \"{0}\" holds {1}"},
    .Effect = {"Er bildet daraus Dateinamen und setzt sie ohne Anführungszeichen in Befehle der "
               "Shell ein: Die Sprachdatei entsteht nicht oder wird nicht gespielt.",
               "It makes names of files of it and puts them without quotes into commands of the "
               "shell: the speech file is not made or not played."},
    .Advice = {"einen Namen aus Buchstaben, Ziffern und . _ -",
               "a name of letters, digits and . _ -"},
    .Explanation = {
        "Die Namen der Sprachen und die id vorbereiteter Phrasen sind Teile von Dateinamen, die "
        "der "
        "Server ohne Anführungszeichen an cp, aplay und die Sprachmaschine gibt.",
        "The names of languages and the ids of prepared phrases are parts of names of files that "
        "the server hands without quotes to cp, aplay and the engine."}};

constexpr Rule kStation = {
    .Id = "shell-station-directory",
    .Level = Severity::Error,
    .Title = {"Das Verzeichnis der Station enthält ein Leerzeichen oder ein Zeichen der Shell",
              "The station's directory holds a blank or a character of the shell"},
    .Problem = {"der Pfad \"{0}\" der Station enthält {1}", "the station's path \"{0}\" holds {1}"},
    .Effect = {"Auf \"!restart\" beendet er sich und startet nicht wieder; auch relative Pfade der "
               "Konfiguration gelingen in Befehlen nicht.",
               "Upon \"!restart\" it ends and does not start again; relative paths of the "
               "configuration fail in commands as well."},
    .Advice = {"ein Verzeichnis, dessen Pfad nur Buchstaben, Ziffern und / . _ + , : @ - enthält",
               "a directory whose path has only letters, digits and / . _ + , : @ -"},
    .Explanation = {
        "Zum Neustart führt der Server \"sh restart NUMMER VERZEICHNIS/ka-tts-server\" aus, ohne "
        "Anführungszeichen. Relative Pfade der Konfiguration beginnen mit demselben Verzeichnis.",
        "To restart, the server runs \"sh restart NUMBER DIRECTORY/ka-tts-server\", without "
        "quotes. "
        "Relative paths of the configuration begin with the same directory."}};

constexpr Rule kRules[] = {kPath, kQuotedPath, kCommand, kName, kStation};

constexpr std::string_view kUnquoted = " \t\r\n|&;<>()$`\\\"'*?[]{}";
constexpr std::string_view kQuoted = "\"$`\\";
constexpr Bilingual kBlank = {"ein Leerzeichen", "a blank"};

std::string NameOfCharacter(char c, Language language) {
  if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return std::string(kBlank(language));
  return std::string(1, c);
}

void CheckValue(const ProfileFile& file, std::string_view key, const Rule& rule,
                std::string_view characters, Report& report) {
  const ProfileRow* row = file.Find(key);
  if (row == nullptr) return;
  const std::size_t at = row->Value.find_first_of(characters);
  if (at == std::string::npos) return;
  AddFinding(report, rule, file.ValueAt(*row, at), row->Value,
             NameOfCharacter(row->Value[at], report.Lang()));
}

/// The first character with which a command stops being a program with options.
std::size_t FindOperator(const std::string& command) {
  char quote = '\0';
  std::size_t opened = std::string::npos;
  for (std::size_t i = 0; i < command.size(); ++i) {
    const char c = command[i];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
      opened = i;
    } else if (c == '\\') {
      ++i;
    } else if (std::string_view(";&|<>`$").find(c) != std::string_view::npos ||
               (c == '#' && (i == 0 || command[i - 1] == ' '))) {
      return i;
    }
  }
  return quote == '\0' ? std::string::npos : opened;
}

void CheckCommand(const ProfileFile& file, const std::string& key, Report& report) {
  const ProfileRow* row = file.Find(key);
  if (row == nullptr) return;
  const std::size_t at = FindOperator(row->Value);
  if (at == std::string::npos) return;
  AddFinding(report, kCommand, file.ValueAt(*row, at),
             NameOfCharacter(row->Value[at], report.Lang()));
}

void CheckName(const Document& document, const Element& element, std::string_view attribute,
               Report& report) {
  const std::string name = element.Value(attribute);
  const std::size_t at = name.find_first_of(kUnquoted);
  if (at == std::string::npos) return;
  const SourcePosition position = element.ValueAt(attribute);
  AddFinding(report, kName, {document.File(), position.Line, position.Column}, name,
             NameOfCharacter(name[at], report.Lang()));
}

void CheckNames(const Document& document, Report& report) {
  for (const Element* section : {document.References(), document.Assembly()}) {
    if (section == nullptr) continue;
    for (const Element* language : section->ChildrenCalled("Language")) {
      CheckName(document, *language, "name", report);
      for (const Element* element : language->ChildrenCalled("Element"))
        if (element->Value("trait") == "steady") CheckName(document, *element, "id", report);
    }
  }
}

void CheckStation(const Station& station, Report& report) {
  const std::size_t at = station.Root().find_first_of(kUnquoted);
  if (at == std::string::npos) return;
  AddFinding(report, kStation, {station.Root(), 0, 0}, station.Root(),
             NameOfCharacter(station.Root()[at], report.Lang()));
}

void Check(const CheckInput& input, Report& report) {
  CheckStation(input.Station, report);
  const ProfileFile file(input.Station.Config());
  for (const char* key :
       {"rootDir", "engineName", "storetempram", "playtempram", "steadyspeeches"}) {
    CheckValue(file, key, kPath, kUnquoted, report);
  }
  for (const char* key : {"nonvoicesounds", "bellfile"})
    CheckValue(file, key, kQuotedPath, kQuoted, report);
  const std::string engine = input.Station.Value("engineName");
  for (const std::string_view key : {kSpeakKey, kSaveKey})
    CheckCommand(file, std::string(key) + engine, report);
  if (input.Document != nullptr) CheckNames(*input.Document, report);
}

}  // namespace

RuleGroup ShellRules() {
  return {{"Befehle der Shell", "Commands of the shell"}, kRules, Check};
}

}  // namespace tools
