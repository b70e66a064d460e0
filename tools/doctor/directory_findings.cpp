#include <sys/statvfs.h>

#include <filesystem>
#include <optional>
#include <string>

#include "check/file_access.h"
#include "doctor/file_state.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

/// Some 45 s of speech.
constexpr double kLeastFree = 2.0 * 1024 * 1024;

constexpr Complaint kAbsent = {
    .What = {.Id = "directory-absent",
             .Level = Severity::Error,
             .Title = {"Ein Verzeichnis des Servers fehlt", "A directory of the server is missing"},
             .Problem = {"das Verzeichnis ({0}) gibt es nicht",
                         "the directory ({0}) does not exist"},
             .Effect = {"Er legt es nicht an: Was hineingehört, wird weder geschrieben noch "
                        "gespielt.",
                        "It does not make it: what belongs there is neither written nor played."},
             .Advice = {"das Verzeichnis anlegen", "make the directory"},
             .Explanation = {"Auf einer RAM-Disk sind nach einem Neustart auch die Verzeichnisse "
                             "fort; der Server legt keines an.",
                             "On a RAM disk the directories are gone, too, after a reboot; the "
                             "server makes none."}},
    .Repair = {"legt es mit Besitzer und Rechten des übergeordneten Verzeichnisses an, wenn es "
               "dieses gibt",
               "makes it with owner and rights of its parent directory, if that exists"}};

constexpr Complaint kUnwritable = {
    .What = {.Id = "directory-unwritable",
             .Level = Severity::Error,
             .Title = {"Der Server kann in eines seiner Verzeichnisse nicht schreiben",
                       "The server cannot write into one of its directories"},
             .Problem = {"{1} kann in das Verzeichnis ({0}) nicht schreiben",
                         "{1} cannot write into the directory ({0})"},
             .Effect = {"Er kann dort keine Datei ablegen und meldet das nicht: Ansagen bleiben "
                        "stumm oder veralten.",
                        "It cannot put any file there and does not say so: announcements stay "
                        "silent or become outdated."},
             .Advice = {"Besitzer und Rechte berichtigen oder das Dateisystem schreibbar einhängen",
                        "correct owner and rights, or mount the file system writable"},
             .Explanation = {"Geprüft wird mit den Rechten des laufenden Servers, sonst mit denen "
                             "des Benutzers ka-tts, soweit root fragt.",
                             "Looked at with the rights of the running server, else with those of "
                             "the user ka-tts, as far as root asks."}},
    .Repair = {"nichts: Rechte vergibt der Betreiber",
               "nothing: rights are the operator's to give"}};

constexpr Complaint kFull = {
    .What = {.Id = "directory-full",
             .Level = Severity::Error,
             .Title = {"Ein Verzeichnis des Servers ist voll", "A directory of the server is full"},
             .Problem = {"im Verzeichnis ({0}) sind noch {1:.0f} KiB und {2} frei",
                         "in the directory ({0}) {1:.0f} KiB and {2} are free"},
             .Effect = {"Ansagen werden abgeschnitten oder gar nicht erzeugt.",
                        "Announcements are cut off or not made at all."},
             .Advice = {"Platz schaffen oder das Dateisystem vergrößern",
                        "make room or enlarge the file system"},
             .Explanation = {"Voll heißt: weniger als 2 MiB frei, so viel wie 45 s Sprache, oder "
                             "keine weitere Datei möglich.",
                             "Full means: less than 2 MiB free, which is 45 s of speech, or no "
                             "further file possible."}},
    .Repair = {"nichts: Was dort liegt, gehört dem Server oder anderen",
               "nothing: what is there belongs to the server or to others"}};

constexpr Complaint kComplaints[] = {kAbsent, kUnwritable, kFull};

constexpr Bilingual kMade = {"angelegt", "made"};
constexpr Bilingual kUser = {"der Benutzer {0}", "user {0}"};
constexpr Bilingual kThisUser = {"der Benutzer dieses Programms", "the user of this program"};
constexpr Bilingual kNoFile = {"keine Datei", "no file"};
constexpr Bilingual kFiles = {"Dateien", "files"};

void AddAbsent(const Examination& examination, const ServerDirectory& directory,
               Diagnosis& diagnosis) {
  Remedy cure = {kMade, nullptr};
  if (IsDirectory(fs::path(directory.Path).lexically_normal().parent_path().string())) {
    cure.Apply = [&examination, path = directory.Path] {
      return AskAs(examination.ServerUser(), [&] { return MakeDirectoryLikeParent(path); });
    };
  }
  diagnosis.Add(kAbsent.What, directory.Path, cure, directory.Name);
}

void AddUnwritable(const Examination& examination, const ServerDirectory& directory,
                   Diagnosis& diagnosis) {
  const auto& user = examination.ServerUser();
  const std::string who = user ? Say(kUser, diagnosis.Lang(), std::to_string(user->User))
                               : std::string(kThisUser(diagnosis.Lang()));
  diagnosis.Add(kUnwritable.What, directory.Path, {}, directory.Name, who);
}

void CheckSpace(const ServerDirectory& directory, Diagnosis& diagnosis) {
  struct statvfs space {};
  if (statvfs(directory.Path.c_str(), &space) != 0) return;
  const auto blockSize = static_cast<double>(space.f_frsize);
  const double free = static_cast<double>(space.f_bavail) * blockSize;
  const MetricLabels labels = {{"directory", directory.Name}};
  diagnosis.Figures().Set("ka_tts_directory_free_bytes", labels, free);
  diagnosis.Figures().Set("ka_tts_directory_size_bytes", labels,
                          static_cast<double>(space.f_blocks) * blockSize);
  // Some file systems set no limit to the number of files and state none.
  const bool takesFiles = space.f_files == 0 || space.f_favail > 0;
  if (free >= kLeastFree && takesFiles) return;
  diagnosis.Add(kFull.What, directory.Path, {}, directory.Name, free / 1024,
                (takesFiles ? kFiles : kNoFile)(diagnosis.Lang()));
}

void CountFiles(const ServerDirectory& directory, Metrics& figures) {
  double files = 0;
  double bytes = 0;
  std::error_code gone;
  for (fs::directory_iterator entry(directory.Path, gone), end; !gone && entry != end;
       entry.increment(gone)) {
    const std::optional<FileState> state = StateOf(entry->path().string());
    if (!state) continue;
    ++files;
    bytes += static_cast<double>(state->Size);
  }
  const MetricLabels labels = {{"directory", directory.Name}};
  figures.Set("ka_tts_directory_files", labels, files);
  figures.Set("ka_tts_directory_content_bytes", labels, bytes);
}

void CheckDirectory(const Examination& examination, const ServerDirectory& directory,
                    Diagnosis& diagnosis) {
  if (!IsDirectory(directory.Path)) {
    AddAbsent(examination, directory, diagnosis);
    return;
  }
  const bool isWritable =
      AskAs(examination.ServerUser(), [&] { return IsWritableDirectory(directory.Path); });
  if (!isWritable && examination.SeesWithServerEyes())
    AddUnwritable(examination, directory, diagnosis);
  CheckSpace(directory, diagnosis);
  CountFiles(directory, diagnosis.Figures());
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  for (const ServerDirectory& directory : examination.Directories())
    CheckDirectory(examination, directory, diagnosis);
}

}  // namespace

FindingGroup DirectoryFindings() {
  return {{"Verzeichnisse", "Directories"}, kComplaints, Check};
}

}  // namespace tools
