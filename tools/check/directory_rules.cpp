#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "check/file_access.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Rule kMissing = {
    .Id = "directory-missing",
    .Level = Severity::Error,
    .Title = {"Ein Verzeichnis fehlt", "A directory is missing"},
    .Problem = {"das Verzeichnis \"{0}\" gibt es nicht", "the directory \"{0}\" does not exist"},
    .Effect = {"Er legt es nicht an; was darin liegen soll, wird weder geschrieben noch gespielt.",
               "It does not make it; what belongs into it is neither written nor played."},
    .Advice = {"das Verzeichnis anlegen oder ein vorhandenes angeben",
               "make the directory or name one that exists"},
    .Explanation = {
        "Der Server legt kein Verzeichnis an, auch nicht die der Sprachen unter steadyspeeches. "
        "Relative Pfade gelten im Verzeichnis des Servers.",
        "The server makes no directory, not even those of the languages below steadyspeeches. "
        "Relative paths belong to the server's directory."}};

constexpr Rule kNotWritable = {
    .Id = "directory-not-writable",
    .Level = Severity::Error,
    .Title = {"In ein Verzeichnis kann nicht geschrieben werden",
              "A directory cannot be written to"},
    .Problem = {"in \"{0}\" kann nicht geschrieben werden", "\"{0}\" cannot be written to"},
    .Effect = {"Er kann dort keine Datei ablegen und meldet das nicht: Ansagen bleiben stumm oder "
               "veralten.",
               "It cannot put any file there and does not say so: announcements stay silent or "
               "become outdated."},
    .Advice = {"Schreibrecht für den Benutzer, unter dem der Server läuft",
               "write permission for the user whom the server runs as"},
    .Explanation = {
        "In storetempram, playtempram und in die Verzeichnisse der Sprachen unter steadyspeeches "
        "schreibt der Server Texte und Sprachdateien.",
        "The server writes texts and speech files into storetempram, playtempram and the "
        "directories of the languages below steadyspeeches."}};

constexpr Rule kIdentical = {
    .Id = "directory-identical",
    .Level = Severity::Error,
    .Title = {"Zwei Verzeichnisse sind dasselbe", "Two directories are the same"},
    .Problem = {"\"{0}\" ist dasselbe Verzeichnis wie \"{1}\"",
                "\"{0}\" is the same directory as \"{1}\""},
    .Effect = {"Er räumt das eine auf und entfernt dabei die Dateien des anderen.",
               "It clears the one and removes the other's files with it."},
    .Advice = {"ein eigenes Verzeichnis für jeden Zweck",
               "a directory of its own for each purpose"},
    .Explanation = {
        "storetempram und playtempram leert der Server beim Start und nach der Zeit TimeoutCache; "
        "vor jeder neuen Ansage entfernt er zudem alle .wav-Dateien aus playtempram. Ist das "
        "dasselbe Verzeichnis wie storetempram, so löscht er damit die eben erzeugten Ansagen.",
        "The server empties storetempram and playtempram at start and after the time TimeoutCache; "
        "before each new announcement it also removes all .wav files from playtempram. If that is "
        "the same directory as storetempram, it deletes the announcements just made."}};

constexpr Rule kNested = {
    .Id = "directory-nested",
    .Level = Severity::Error,
    .Title = {"In einem Verzeichnis, das geleert wird, liegt ein anderes",
              "A directory that is emptied holds another one"},
    .Problem = {"\"{0}\" enthält \"{1}\"", "\"{0}\" holds \"{1}\""},
    .Effect = {"Er entfernt beim Aufräumen auch, was darin liegt, oder bricht daran ab und lässt "
               "veraltete Ansagen liegen.",
               "When it clears, it removes what is in there, too, or stops there and leaves "
               "outdated announcements."},
    .Advice = {"ein Verzeichnis, in dem nichts anderes liegt",
               "a directory that holds nothing else"},
    .Explanation = {
        "Beim Leeren von storetempram und playtempram entfernt der Server alles der Reihe nach, "
        "auch leere Unterverzeichnisse; an einem, das nicht leer ist, hört er auf. Die "
        ".wav-Dateien in playtempram entfernt er bei jedem Datenblock bis in alle "
        "Unterverzeichnisse.",
        "When the server empties storetempram and playtempram, it removes one thing after the "
        "other, empty directories included; at one that is not empty it stops. With each data "
        "block it removes the .wav files in playtempram, down to all its subdirectories."}};

constexpr Rule kAroundServer = {
    .Id = "directory-around-server",
    .Level = Severity::Error,
    .Title = {"Ein Verzeichnis, das geleert wird, enthält den Server",
              "A directory that is emptied holds the server"},
    .Problem = {"in \"{0}\" liegt der Server selbst", "\"{0}\" holds the server itself"},
    .Effect = {"{1}", "{1}"},
    .Advice = {"ein Verzeichnis, in dem nichts anderes liegt",
               "a directory that holds nothing else"},
    .Explanation = {
        "storetempram und playtempram leert der Server beim Start und nach der Zeit TimeoutCache. "
        "Liegt er selbst darin, so entfernt er seine eigenen Dateien. Nur \"/\" leert er nie; dort "
        "bleiben dafür auch veraltete Ansagen liegen.",
        "The server empties storetempram and playtempram at start and after the time TimeoutCache. "
        "If it stands in there itself, it removes its own files. Only \"/\" is never emptied; "
        "outdated announcements stay there as well."}};

constexpr Rule kRules[] = {kMissing, kNotWritable, kIdentical, kNested, kAroundServer};

constexpr Bilingual kRemovesServer = {"Er entfernt beim Start seine eigenen Dateien.",
                                      "At start it removes its own files."};
constexpr Bilingual kNeverCleared = {"Er räumt dort nie auf: Veraltete Ansagen bleiben liegen.",
                                     "It never clears there: outdated announcements stay."};

/// A path of the configuration or one of the server's own.
struct Location {
  const ProfileRow* Row = nullptr;  ///< null for one of the server's own
  std::string Path;
  std::string Real;  ///< without links; "" for "/"
  bool bEmptied = false;
};

std::string RealPath(const std::string& path) {
  std::error_code unknown;
  std::string real = fs::weakly_canonical(path, unknown).string();
  real.erase(real.find_last_not_of('/') + 1);
  return real;
}

bool IsWithin(const Location& inner, const Location& outer) {
  return inner.Real == outer.Real || inner.Real.starts_with(outer.Real + "/");
}

class DirectoryCheck {
 public:
  DirectoryCheck(const CheckInput& input, Report& report)
      : input_(input), report_(report), file_(input.Station.Config()) {}

  void Run() {
    for (const char* key : {"storetempram", "playtempram"})
      AddDirectory(key, true);
    for (const char* key : {"nonvoicesounds", "steadyspeeches"})
      AddDirectory(key, false);
    CheckLanguages();
    CheckIdentical();
    for (const Location& directory : directories_)
      if (directory.bEmptied) CheckEmptied(directory);
  }

 private:
  void AddDirectory(const char* key, bool emptied) {
    const ProfileRow* row = file_.Find(key);
    if (row == nullptr || row->Value.empty()) return;
    const std::string path = input_.Station.Resolve(row->Value);
    directories_.push_back({row, path, RealPath(path), emptied});
    if (!IsDirectory(path)) {
      AddFinding(report_, kMissing, file_.ValueAt(*row), path);
    } else if (emptied && !IsWritableDirectory(path)) {
      AddFinding(report_, kNotWritable, file_.ValueAt(*row), path);
    }
  }

  /// Prepared phrases have a directory per language.
  void CheckLanguages() {
    const ProfileRow* steady = file_.Find("steadyspeeches");
    if (steady == nullptr || steady->Value.empty() || input_.Document == nullptr) return;
    const std::string directory = input_.Station.Resolve(steady->Value);
    const Element* references = input_.Document->References();
    if (references == nullptr || !IsDirectory(directory)) return;
    const auto languages = references->ChildrenCalled("Language");
    const bool isShared = std::any_of(languages.begin(), languages.end(), [](const Element* l) {
      return l->Value("name") == "all" && HasSteady(*l);
    });
    for (const Element* language : languages) {
      const std::string name = language->Value("name");
      if (name != "all" && (isShared || HasSteady(*language)))
        CheckLanguage(*language, (directory + "/").append(name));
    }
  }

  void CheckLanguage(const Element& language, const std::string& path) {
    const SourcePosition at = language.ValueAt("name");
    const Place place = {input_.Document->File(), at.Line, at.Column};
    if (!IsDirectory(path)) {
      AddFinding(report_, kMissing, place, path);
    } else if (!IsWritableDirectory(path)) {
      AddFinding(report_, kNotWritable, place, path);
    }
  }

  static bool HasSteady(const Element& language) {
    const auto elements = language.ChildrenCalled("Element");
    return std::any_of(elements.begin(), elements.end(),
                       [](const Element* e) { return e->Value("trait") == "steady"; });
  }

  void CheckIdentical() {
    for (auto second = directories_.begin(); second != directories_.end(); ++second) {
      const auto first = std::find_if(directories_.begin(), second, [&](const Location& one) {
        return one.Real == second->Real && (one.bEmptied || second->bEmptied);
      });
      if (first == second) continue;
      AddFinding(report_, kIdentical, file_.ValueAt(*second->Row), second->Row->Name,
                 first->Row->Name);
    }
  }

  void CheckEmptied(const Location& outer) {
    const std::string& root = input_.Station.Root();
    if (IsWithin({nullptr, root, RealPath(root)}, outer)) {
      const Bilingual& effect = outer.Real.empty() ? kNeverCleared : kRemovesServer;
      AddFinding(report_, kAroundServer, file_.ValueAt(*outer.Row), outer.Path,
                 effect(report_.Lang()));
      return;
    }
    for (const Location& inner : Contents()) {
      if (IsWithin(inner, outer) && !(inner.Row != nullptr && inner.Real == outer.Real))
        AddFinding(report_, kNested, file_.ValueAt(*outer.Row), outer.Path, inner.Path);
    }
  }

  /// Everything that must not be emptied.
  std::vector<Location> Contents() const {
    std::vector<Location> contents = directories_;
    for (const char* key : {"rootDir", "speechformat"}) {
      const ProfileRow* row = file_.Find(key);
      if (row == nullptr || row->Value.empty()) continue;
      const std::string path = input_.Station.Resolve(row->Value);
      contents.push_back({row, path, RealPath(path)});
    }
    for (const char* name : {"/kaconfig", "/messages", "/lexidata"}) {
      const std::string path = input_.Station.Root() + name;
      contents.push_back({nullptr, path, RealPath(path)});
    }
    return contents;
  }

  const CheckInput& input_;
  Report& report_;
  ProfileFile file_;
  std::vector<Location> directories_;
};

void Check(const CheckInput& input, Report& report) {
  DirectoryCheck(input, report).Run();
}

}  // namespace

RuleGroup DirectoryRules() {
  return {{"Verzeichnisse", "Directories"}, kRules, Check};
}

}  // namespace tools
