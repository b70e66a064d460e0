#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

#include "check/configuration_keys.h"
#include "check/file_access.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"
#include "kaFile.h"

namespace tools {

namespace {

constexpr Rule kRootSlash = {
    .Id = "root-dir-slash",
    .Level = Severity::Error,
    .Title = {"rootDir endet nicht mit \"/\"", "rootDir does not end in \"/\""},
    .Problem = {"rootDir \"{0}\" endet nicht mit \"/\"", "rootDir \"{0}\" does not end in \"/\""},
    .Effect = {"Er wechselt nach \"{0}{1}\", um Texte zu sprechen.",
               "It changes into \"{0}{1}\" to speak texts."},
    .Advice = {"rootDir=\"{0}/\"", "rootDir=\"{0}/\""},
    .Explanation = {"Der Name der Sprachmaschine wird ohne Schrägstrich an rootDir gehängt.",
                    "The engine's name is appended to rootDir without a slash."}};

constexpr Rule kNoDirectory = {
    .Id = "engine-directory-missing",
    .Level = Severity::Error,
    .Title = {"Das Verzeichnis der Sprachmaschine fehlt", "The engine's directory is missing"},
    .Problem = {"\"{0}\" ist kein Verzeichnis", "\"{0}\" is no directory"},
    .Effect = {"Er kann nicht dorthin wechseln und startet den Befehl im falschen Verzeichnis.",
               "It cannot change into it and starts the command in the wrong directory."},
    .Advice = {"rootDir und engineName, die zusammen ein Verzeichnis nennen",
               "a rootDir and an engineName that name a directory together"},
    .Explanation = {
        "Um einen Text sofort zu sprechen, wechselt der Server in das Verzeichnis aus rootDir und "
        "engineName und startet dort den Befehl unter speakout + engineName.",
        "To speak a text at once, the server changes into the directory of rootDir and engineName "
        "and starts the command under speakout + engineName there."}};

constexpr Rule kNoCommand = {
    .Id = "engine-command-missing",
    .Level = Severity::Error,
    .Title = {"Den Befehl der Sprachmaschine gibt es nicht", "The engine's command does not exist"},
    .Problem = {"das Programm \"{0}\" gibt es in \"{1}\" nicht",
                "there is no program \"{0}\" in \"{1}\""},
    .Effect = {"Die Shell meldet den Fehler, der Server achtet nicht darauf: Nichts wird "
               "gesprochen.",
               "The shell reports the mistake, the server does not mind: nothing is spoken."},
    .Advice = {"den Pfad des Programms, am besten mit \"/\" am Anfang",
               "the program's path, best with \"/\" at its beginning"},
    .Explanation = {
        "Vor dem Befehl unter speakout... wechselt der Server in das Verzeichnis aus rootDir und "
        "engineName, vor dem unter savespeech... in alles, was im Wert vor dem letzten \"/\" "
        "steht. "
        "Ein relativer Pfad gilt also dort; ein Name ohne \"/\" wird in PATH gesucht.",
        "Before the command under speakout... the server changes into the directory of rootDir and "
        "engineName, before that under savespeech... into everything before the value's last "
        "\"/\". A relative path therefore belongs there; a name without \"/\" is looked for in "
        "PATH."}};

constexpr Rule kNotExecutable = {
    .Id = "engine-command-not-executable",
    .Level = Severity::Error,
    .Title = {"Der Befehl der Sprachmaschine ist nicht ausführbar",
              "The engine's command is not executable"},
    .Problem = {"\"{0}\" ist nicht ausführbar", "\"{0}\" is not executable"},
    .Effect = {"Die Shell lehnt den Befehl ab, der Server achtet nicht darauf: Nichts wird "
               "gesprochen.",
               "The shell refuses the command, the server does not mind: nothing is spoken."},
    .Advice = {"chmod +x, oder den Pfad eines Programms", "chmod +x, or the path of a program"},
    .Explanation = {
        "Der Server lässt die Sprachmaschine von der Shell starten und sieht ihren Rückgabewert "
        "nicht an. Gemerkt hat er sich den Text trotzdem: Dieselben Daten lösen keinen neuen "
        "Versuch aus.",
        "The server has the shell start the engine and does not look at the status. The text is "
        "remembered all the same: the same data cause no new attempt."}};

constexpr Rule kOptionSlash = {
    .Id = "engine-option-slash",
    .Level = Severity::Warning,
    .Title = {"Eine Option des Befehls savespeech enthält \"/\"",
              "An option of the command savespeech holds a \"/\""},
    .Problem = {"hinter dem Programm steht noch ein \"/\"", "there is a \"/\" behind the program"},
    .Effect = {"Er versucht, nach \"{0}\" zu wechseln; das schlägt fehl, und der Befehl läuft im "
               "falschen Verzeichnis.",
               "It tries to change into \"{0}\"; that fails, and the command runs in the wrong "
               "directory."},
    .Advice = {"Optionen ohne \"/\"; ein kleines Skript kann sie an das Programm weitergeben",
               "options without \"/\"; a small script can pass them on to the program"},
    .Explanation = {
        "Der Server nimmt alles, was im Wert vor dem letzten \"/\" steht, als Verzeichnis der "
        "Sprachmaschine. Steht dieser Schrägstrich in einer Option, so ist das kein Verzeichnis.",
        "The server takes everything before the value's last \"/\" for the engine's directory. If "
        "that slash stands in an option, it is none."}};

constexpr Rule kRules[] = {kRootSlash, kNoDirectory, kNoCommand, kNotExecutable, kOptionSlash};

/// The program of a command line; nothing if the shell would have to be asked what it is.
std::optional<std::string> ProgramOf(const std::string& command) {
  std::istringstream words(command);
  std::string program;
  words >> program;
  if (program.empty() || program.find_first_of("\"'\\$`;&|<>()*?[=~#") != std::string::npos)
    return std::nullopt;
  return program;
}

std::string FindInPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::istringstream directories(path == nullptr ? "" : path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    directory.append("/").append(program);
    if (IsExecutableFile(directory)) return directory;
  }
  return "";
}

/// Where the shell finds `program` after the change into `directory`, "" if it does not.
std::string FindProgram(const Station& station, const std::string& directory,
                        const std::string& program) {
  if (program.find('/') == std::string::npos) return FindInPath(program);
  if (program.starts_with("/")) return program;
  // A relative directory belongs to the one that the server is started in, its own.
  const std::string base = directory.starts_with("/") ? "" : station.Root() + "/";
  return base + directory + "/" + program;
}

/// Looks for the program of the command under `key`, which runs in `directory`.
void CheckCommand(const CheckInput& input, const ProfileFile& file, const std::string& key,
                  const std::string& directory, Report& report) {
  const ProfileRow* row = file.Find(key);
  const std::optional<std::string> program = ProgramOf(row->Value);
  if (!program) return;
  const std::string found = FindProgram(input.Station, directory, *program);
  if (found.empty() || !CkaFile().FileExists(found)) {
    const bool inPath = program->find('/') == std::string::npos;
    AddFinding(report, kNoCommand, file.ValueAt(*row), *program, inPath ? "PATH" : directory);
  } else if (!IsExecutableFile(found)) {
    AddFinding(report, kNotExecutable, file.ValueAt(*row), *program);
  }
}

void CheckSpeakOut(const CheckInput& input, const ProfileFile& file, Report& report) {
  const std::string engine = input.Station.Value("engineName");
  const ProfileRow* root = file.Find("rootDir");
  if (root == nullptr || root->Value.empty() || engine.empty()) return;
  if (!root->Value.ends_with("/")) {
    AddFinding(report, kRootSlash, file.ValueAt(*root), root->Value, engine);
    return;
  }
  const std::string directory = root->Value + engine;
  if (!IsDirectory(CkaFile().GetFileNameFromShellPath(directory))) {
    AddFinding(report, kNoDirectory, file.ValueAt(*root), directory);
    return;
  }
  const std::string key = std::string(kSpeakKey) + engine;
  if (file.Find(key) != nullptr) CheckCommand(input, file, key, directory, report);
}

void CheckSave(const CheckInput& input, const ProfileFile& file, Report& report) {
  const std::string key = std::string(kSaveKey) + input.Station.Value("engineName");
  const ProfileRow* row = file.Find(key);
  if (row == nullptr || row->Value.empty()) return;
  const std::size_t options = row->Value.find(' ', row->Value.find_first_not_of(' '));
  const std::size_t slash = row->Value.rfind('/');
  const std::string directory = CkaFile().GetParentDir(row->Value, false);
  const bool isInOption = slash != std::string::npos && slash > options;
  if (isInOption) AddFinding(report, kOptionSlash, file.ValueAt(*row, slash), directory);
  // Where the change of directory fails, the command runs in the server's own.
  CheckCommand(input, file, key, isInOption ? input.Station.Root() : directory, report);
}

void Check(const CheckInput& input, Report& report) {
  const ProfileFile file(input.Station.Config());
  CheckSpeakOut(input, file, report);
  CheckSave(input, file, report);
}

}  // namespace

RuleGroup EngineRules() {
  return {{"Die Sprachmaschine", "The speech engine"}, kRules, Check};
}

}  // namespace tools
