#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "doctor/file_state.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr Bilingual kRemoves = {"entfernt die Datei", "removes the file"};
constexpr Bilingual kRemoved = {"entfernt", "removed"};

constexpr Complaint kPlayMarker = {
    .What = {.Id = "play-marker-stale",
             .Level = Severity::Error,
             .Title = {"Die Abspielmarke steht, obwohl nichts abgespielt wird",
                       "The play marker is set although nothing is played"},
             .Problem = {"die Abspielmarke ist {0:.0f} s alt, und kein Player läuft",
                         "the play marker is {0:.0f} s old, and no player runs"},
             .Effect = {"Er wartet bei jedem Datenblock 120 s darauf und gibt dann auf: Neue "
                        "Ansagen werden nicht abspielbar.",
                        "With each data block it waits 120 s for it and then gives up: new "
                        "announcements cannot be played."},
             .Advice = {"die Datei entfernen", "remove the file"},
             .Explanation =
                 {"Die Marke hält fest, dass abgespielt wird, damit dabei niemand die Dateien "
                  "austauscht. Ein Absturz lässt sie zurück, und ein Eiltext, der eine Liste "
                  "abbricht, tut es auch, bis zur nächsten Liste.",
                  "The marker says that something is being played, so that nobody replaces the "
                  "files meanwhile. A crash leaves it behind, and so does an urgent text that "
                  "breaks off a play list, until the next list."}},
    .Repair = kRemoves};

constexpr Complaint kSaveMarker = {
    .What = {.Id = "save-marker-stale",
             .Level = Severity::Error,
             .Title = {"Die Speichermarke steht, obwohl nichts kopiert wird",
                       "The save marker is set although nothing is copied"},
             .Problem = {"die Speichermarke ist {0:.0f} s alt, und niemand kopiert Ansagen",
                         "the save marker is {0:.0f} s old, and nobody copies announcements"},
             .Effect = {"Er wartet bei jeder Abspielliste 3 s darauf, gibt dann auf und spielt bis "
                        "zum nächsten Eiltext gar nichts mehr ab.",
                        "With each play list it waits 3 s for it, then gives up and plays nothing "
                        "at all until the next urgent text."},
             .Advice = {"die Datei entfernen", "remove the file"},
             .Explanation =
                 {"Die Marke hält fest, dass gerade neue Ansagen in das Abspielverzeichnis kommen. "
                  "Ein Absturz in diesem Augenblick lässt sie zurück.",
                  "The marker says that new announcements are being put into the play directory. A "
                  "crash at that moment leaves it behind."}},
    .Repair = kRemoves};

constexpr Complaint kComplaints[] = {kPlayMarker, kSaveMarker};

bool IsOneOf(const std::string& name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// What runs for this station; other programs' players and copies are none of its business.
class StationProcesses {
 public:
  explicit StationProcesses(const Examination& examination)
      : examination_(examination), play_(examination.PlayDirectory() + "/") {}

  bool IsPlaying() const {
    return AnyProcess([this](const ProcessTable& table, const Process& process) {
      return IsOneOf(process.Name, {"aplay", "play"}) && IsOurs(table, process);
    });
  }
  bool IsRotating() const {
    return AnyProcess([this](const ProcessTable& table, const Process& process) {
      return IsOneOf(process.Name, {"cp", "rm", "find", "sh"}) && IsOurs(table, process);
    });
  }

 private:
  bool IsOurs(const ProcessTable& table, const Process& process) const {
    const auto& servers = examination_.Servers();
    return process.Mentions(play_) ||
           std::any_of(servers.begin(), servers.end(),
                       [&](const Process& server) { return table.IsBelow(process.Id, server.Id); });
  }

  template <class Condition>
  static bool AnyProcess(Condition condition) {
    const ProcessTable table = ProcessTable::Read();
    return std::any_of(table.All().begin(), table.All().end(),
                       [&](const Process& process) { return condition(table, process); });
  }

  const Examination& examination_;
  std::string play_;
};

/// \param isUsed whether somebody is at work for whom the marker stands
template <class Condition>
void CheckMarker(const Examination& examination, const Complaint& complaint,
                 const std::string& name, Condition isUsed, Diagnosis& diagnosis) {
  const std::string marker = examination.PlayDirectory() + "/" + name + "block";
  const std::optional<FileState> seen = StateOf(marker);
  const double age = seen ? AgeOf(seen->Modified) : 0;
  diagnosis.Figures().Set("ka_tts_marker_present", {{"marker", name}}, seen ? 1 : 0);
  diagnosis.Figures().Set("ka_tts_marker_age_seconds", {{"marker", name}}, age);
  if (!seen || !HoldsOn([&] { return StateOf(marker) == seen && !isUsed(); })) return;
  const auto remove = [&examination, marker, seen = *seen, isUsed] {
    return AskAs(examination.ServerUser(),
                 [&] { return !isUsed() && RemoveUnchanged(marker, seen); });
  };
  diagnosis.Add(complaint.What, marker, {kRemoved, remove}, age);
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  if (examination.PlayDirectory().empty()) return;
  const StationProcesses processes(examination);
  diagnosis.Figures().Set("ka_tts_player_running", processes.IsPlaying() ? 1 : 0);
  CheckMarker(
      examination, kPlayMarker, "play", [processes] { return processes.IsPlaying(); }, diagnosis);
  CheckMarker(
      examination, kSaveMarker, "save", [processes] { return processes.IsRotating(); }, diagnosis);
}

}  // namespace

FindingGroup MarkerFindings() {
  return {{"Marken", "Markers"}, kComplaints, Check};
}

}  // namespace tools
