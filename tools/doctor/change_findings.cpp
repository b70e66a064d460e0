#include <algorithm>
#include <string>

#include "doctor/file_state.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr Bilingual kChangedSince = {"wurde {0:.0f} s nach dem Start des Servers geändert",
                                     "was changed {0:.0f} s after the server's start"};
constexpr Bilingual kRestart = {"den Server neu starten", "restart the server"};
constexpr Bilingual kNothing = {"nichts: Ein Neustart unterbricht den Betrieb",
                                "nothing: a restart interrupts the service"};
constexpr Bilingual kReadOnce = {
    "Der Server liest diese Datei nur beim Start. Geändert heißt: Inhalt, Name oder Rechte, nach "
    "der Uhr des Dateisystems. Lexika sind nicht dabei: Sie werden immer neu gelesen.",
    "The server reads this file at its start only. Changed means: content, name or rights, by the "
    "file system's clock. Lexica are not among them: they are always read anew."};

constexpr Complaint kConfiguration = {
    .What = {.Id = "configuration-changed",
             .Level = Severity::Warning,
             .Title = {"Die Konfiguration ist jünger als der laufende Server",
                       "The configuration is younger than the running server"},
             .Problem = kChangedSince,
             .Effect = {"Er läuft weiter mit der alten Konfiguration.",
                        "It goes on with the old configuration."},
             .Advice = kRestart,
             .Explanation = kReadOnce},
    .Repair = kNothing};

constexpr Complaint kDocument = {
    .What = {.Id = "document-changed",
             .Level = Severity::Warning,
             .Title = {"Das Ansagendokument ist jünger als der laufende Server",
                       "The announcement document is younger than the running server"},
             .Problem = kChangedSince,
             .Effect = {"Er spricht weiter nach dem alten Dokument.",
                        "It goes on speaking by the old document."},
             .Advice = kRestart,
             .Explanation = kReadOnce},
    .Repair = kNothing};

constexpr Complaint kCatalogue = {
    .What = {.Id = "catalogue-changed",
             .Level = Severity::Warning,
             .Title = {"Ein Meldungskatalog ist jünger als der laufende Server",
                       "A message catalogue is younger than the running server"},
             .Problem = kChangedSince,
             .Effect = {"Er meldet weiter mit den alten Texten.",
                        "It goes on reporting with the old texts."},
             .Advice = kRestart,
             .Explanation = kReadOnce},
    .Repair = kNothing};

constexpr Complaint kProgram = {
    .What = {.Id = "program-replaced",
             .Level = Severity::Warning,
             .Title = {"Das Programm wurde ersetzt, der alte Server läuft noch",
                       "The program was replaced, the old server still runs"},
             .Problem = {"Prozess {0} läuft mit einem Programm, das es dort nicht mehr gibt",
                         "process {0} runs a program that is no longer there"},
             .Effect = {"Es läuft die alte Fassung; \"!restart\" startet, was jetzt dort steht.",
                        "The old version runs; \"!restart\" starts what is there now."},
             .Advice = kRestart,
             .Explanation = {"Nach einer Aktualisierung ohne Neustart.",
                             "After an upgrade without a restart."}},
    .Repair = kNothing};

constexpr Complaint kUnreadable = {
    .What = {.Id = "document-unreadable",
             .Level = Severity::Error,
             .Title = {"Das Ansagendokument kann nicht gelesen werden",
                       "The announcement document cannot be read"},
             .Problem = {"die Datei fehlt, ist nicht lesbar oder kein wohlgeformtes XML",
                         "the file is missing, not readable or no well-formed XML"},
             .Effect = {"Er öffnet beim Start keinen Port oder endet sofort.",
                        "At its start it opens no port or ends at once."},
             .Advice = {"\"ka-tts check\" zeigt die Stelle", "\"ka-tts check\" shows the place"},
             .Explanation = {"Ohne das Dokument bleibt die Station stumm. Vorbereitete Phrasen "
                             "können dann nicht geprüft werden.",
                             "Without the document the station stays mute. Prepared phrases cannot "
                             "be looked at then."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kComplaints[] = {kConfiguration, kDocument, kCatalogue, kProgram, kUnreadable};

/// The kernel counts the start of a process in hundredths of a second, and rounds down; a file that
/// was written directly before is older.
constexpr double kResolution = 0.02;

class ChangeCheck {
 public:
  ChangeCheck(const Examination& examination, const Process& server, Diagnosis& diagnosis)
      : examination_(examination),
        server_(server),
        diagnosis_(diagnosis),
        start_(SecondsOf(StartOf(server))) {}

  void Run() {
    const Station& station = examination_.Station();
    CheckFile(kConfiguration, station.Config());
    CheckFile(kDocument, station.Document());
    for (const char* name : {"errDE", "errEN", "stdDE", "stdEN"})
      CheckFile(kCatalogue, station.Messages() + "/" + name + ".csv");
    CheckProgram();
    diagnosis_.Figures().Set("ka_tts_configuration_outdated", changed_);
  }

 private:
  void CheckFile(const Complaint& complaint, const std::string& file) {
    const std::optional<FileState> state = StateOf(file);
    const double after = state ? SecondsOf(state->Changed) - start_ : 0;
    if (after <= kResolution) return;
    diagnosis_.Add(complaint.What, file, {}, after);
    ++changed_;
  }

  void CheckProgram() {
    const std::string file = examination_.Station().Root() + "/ka-tts-server";
    const auto running = StateOf("/proc/" + std::to_string(server_.Id) + "/exe");
    const auto installed = StateOf(file);
    const bool isAnother = running && installed && running->Inode != installed->Inode;
    if (server_.bProgramDeleted || isAnother) diagnosis_.Add(kProgram.What, file, {}, server_.Id);
  }

  const Examination& examination_;
  const Process& server_;
  Diagnosis& diagnosis_;
  double start_;
  int changed_ = 0;
};

void NoteServer(const Examination& examination, Metrics& figures) {
  figures.Set("ka_tts_up", examination.IsRunning() ? 1 : 0);
  figures.Set("ka_tts_server_processes", static_cast<double>(examination.Servers().size()));
  if (!examination.IsRunning()) return;
  const Process& server = examination.Servers().front();
  figures.Set("ka_tts_server_start_time_seconds", SecondsOf(StartOf(server)));
  figures.Set("ka_tts_server_resident_memory_bytes", ResidentBytesOf(server.Id));
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  NoteServer(examination, diagnosis.Figures());
  if (examination.Document() == nullptr)
    diagnosis.Add(kUnreadable.What, examination.Station().Document(), {});
  if (examination.IsRunning())
    ChangeCheck(examination, examination.Servers().front(), diagnosis).Run();
}

}  // namespace

FindingGroup ChangeFindings() {
  return {{"Konfiguration und Programm", "Configuration and program"}, kComplaints, Check};
}

}  // namespace tools
