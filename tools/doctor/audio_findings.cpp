#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "check/file_access.h"
#include "doctor/file_state.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr const char* kPlayer = "aplay";

constexpr Complaint kNoPlayer = {
    .What = {.Id = "player-absent",
             .Level = Severity::Error,
             .Title = {"Den Player aplay gibt es nicht", "There is no player aplay"},
             .Problem = {"kein ausführbares \"{0}\" in {1}", "no executable \"{0}\" in {1}"},
             .Effect = {"Abspiellisten und \"!bell\" bleiben stumm, ohne Meldung.",
                        "Play lists and \"!bell\" stay silent, without a message."},
             .Advice = {"das Paket alsa-utils installieren oder PATH des Dienstes berichtigen",
                        "install the package alsa-utils, or correct the service's PATH"},
             .Explanation = {"Gesucht wird in PATH des laufenden Servers, sonst in dem dieses "
                             "Programms.",
                             "It is looked for in the running server's PATH, else in this "
                             "program's."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kNoCard = {
    .What = {.Id = "sound-card-absent",
             .Level = Severity::Error,
             .Title = {"Der Kernel kennt keine Soundkarte", "The kernel knows no sound card"},
             .Problem = {"keine Soundkarte, und keine ALSA-Konfiguration, die sie ersetzt",
                         "no sound card, and no ALSA configuration that stands in for one"},
             .Effect = {"Jeder Player scheitert sofort: Nichts ist zu hören.",
                        "Every player fails at once: nothing is heard."},
             .Advice = {"Karte, Treiber und \"aplay -l\" prüfen",
                        "look at the card, its driver and \"aplay -l\""},
             .Explanation =
                 {"Gesehen wird die Liste des Kernels, dieselbe wie bei \"aplay -l\", und ob es "
                  "eine eigene ALSA-Konfiguration gibt (ALSA_CONFIG_PATH, /etc/asound.conf, "
                  "~/.asoundrc), die etwas anderes als eine Karte zum Gerät machen kann. Ob aus "
                  "dem Lautsprecher etwas zu hören ist, kann niemand von hier aus sehen.",
                  "Looked at are the kernel's list, the same as that of \"aplay -l\", and whether "
                  "there is an ALSA configuration of its own (ALSA_CONFIG_PATH, /etc/asound.conf, "
                  "~/.asoundrc), which can make something else than a card the device. Whether "
                  "anything is heard from the loudspeaker, nobody can see from here."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kDenied = {
    .What = {.Id = "sound-device-denied",
             .Level = Severity::Error,
             .Title = {"Der Server darf kein Wiedergabegerät öffnen",
                       "The server may not open any playback device"},
             .Problem = {"keines der Wiedergabegeräte ist für den Server schreibbar",
                         "none of the playback devices can be written by the server"},
             .Effect = {"Jeder Player scheitert sofort: Nichts ist zu hören.",
                        "Every player fails at once: nothing is heard."},
             .Advice = {"den Benutzer des Servers in die Gruppe audio aufnehmen",
                        "put the server's user into the group audio"},
             .Explanation = {"Geprüft wird mit den Rechten des Servers. Eine eigene "
                             "ALSA-Konfiguration braucht die Geräte nicht und schließt den Befund "
                             "aus.",
                             "Looked at with the server's rights. An ALSA configuration of its "
                             "own needs no devices and rules the finding out."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kComplaints[] = {kNoPlayer, kNoCard, kDenied};

std::string Variable(const Examination& examination, const std::string& name) {
  const auto found = examination.Environment().find(name);
  return found == examination.Environment().end() ? "" : found->second;
}

bool IsInPath(const std::string& program, const std::string& path) {
  std::istringstream directories(path);
  for (std::string directory; std::getline(directories, directory, ':');)
    if (IsExecutableFile(directory + "/" + program)) return true;
  return false;
}

void CheckPlayer(const Examination& examination, Diagnosis& diagnosis) {
  const std::string path = Variable(examination, "PATH");
  const bool isThere = AskAs(examination.ServerUser(), [&path] { return IsInPath(kPlayer, path); });
  if (!isThere && !path.empty()) diagnosis.Add(kNoPlayer.What, path, {}, kPlayer, "PATH");
}

/// Rows as " 0 [PCH            ]: HDA-Intel - HDA Intel PCH"; further lines belong to them.
int CardsOfList(const std::string& file) {
  std::ifstream list(file);
  int cards = 0;
  for (std::string line; std::getline(list, line);) {
    const std::size_t number = line.find_first_not_of(' ');
    const bool isCard = number != std::string::npos && line[number] >= '0' && line[number] <= '9' &&
                        line.find(" [") != std::string::npos;
    cards += isCard ? 1 : 0;
  }
  return cards;
}

std::vector<std::string> Devices(const std::string& directory, const std::string& begin, char end) {
  std::vector<std::string> devices;
  std::error_code absent;
  for (fs::directory_iterator entry(directory, absent), last; !absent && entry != last;
       entry.increment(absent)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with(begin) && (end == '\0' || name.back() == end))
      devices.push_back(entry->path().string());
  }
  return devices;
}

/// A service may be denied the sight of the kernel's list; the devices are there nevertheless.
int CountCards(const DoctorOptions& options) {
  const auto controls = Devices(options.SoundDevices, "controlC", '\0');
  return std::max(CardsOfList(options.SoundCards), static_cast<int>(controls.size()));
}

bool HasOwnConfiguration(const Examination& examination) {
  if (!Variable(examination, "ALSA_CONFIG_PATH").empty()) return true;
  const std::string home = Variable(examination, "HOME");
  return StateOf("/etc/asound.conf").has_value() ||
         (!home.empty() && StateOf(home + "/.asoundrc").has_value());
}

bool MayOpenOne(const Examination& examination, const std::vector<std::string>& devices) {
  return std::any_of(devices.begin(), devices.end(), [&](const std::string& device) {
    return AskAs(examination.ServerUser(), [&] { return access(device.c_str(), W_OK) == 0; });
  });
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  CheckPlayer(examination, diagnosis);
  const DoctorOptions& options = examination.Options();
  const int cards = CountCards(options);
  diagnosis.Figures().Set("ka_tts_sound_cards", cards);
  if (HasOwnConfiguration(examination)) return;
  if (cards == 0) {
    diagnosis.Add(kNoCard.What, options.SoundCards, {});
    return;
  }
  const auto players = Devices(options.SoundDevices, "pcmC", 'p');
  const bool canTell = !players.empty() && examination.SeesWithServerEyes();
  if (canTell && !MayOpenOne(examination, players))
    diagnosis.Add(kDenied.What, options.SoundDevices, {});
}

}  // namespace

FindingGroup AudioFindings() {
  return {{"Ton", "Sound"}, kComplaints, Check};
}

}  // namespace tools
