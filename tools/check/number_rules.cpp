#include <algorithm>
#include <map>
#include <string>

#include "check/configuration_keys.h"
#include "check/profile_file.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Rule kFaultyNumber = {
    .Id = "config-number-faulty",
    .Level = Severity::Error,
    .Title = {"Ein Wert der Konfiguration ist keine Zahl, wie der Server sie liest",
              "A value of the configuration is no number as the server reads it"},
    .Problem = {"\"{0}\" ist keine Zahl von 0 bis 2147483647",
                "\"{0}\" is no number from 0 to 2147483647"},
    .Effect = {"Er liest {1}.", "It reads {1}."},
    .Advice = {"nur Ziffern, ohne Leerzeichen, Vorzeichen und Einheit",
               "digits only, without blanks, sign and unit"},
    .Explanation = {
        "Steht in einer Zahl irgendein anderes Zeichen als eine Ziffer, so liest der Server 0 und "
        "meldet \"Kein Integer!\" einmal für jedes Zeichen. Zu große Zahlen verlieren ihre oberen "
        "Stellen ohne Meldung.",
        "If a number holds any other character than a digit, the server reads 0 and reports \"Kein "
        "Integer!\" once for each character. Numbers that are too large lose their upper digits "
        "without a message."}};

constexpr Rule kPortMissing = {
    .Id = "port-missing",
    .Level = Severity::Error,
    .Title = {"Ein Port fehlt in der Konfiguration", "A port is missing in the configuration"},
    .Problem = {"der Schlüssel \"{0}\" fehlt", "the key \"{0}\" is missing"},
    .Effect = {"Er nimmt für diesen Zweck den Port 50000.",
               "It takes port 50000 for this purpose."},
    .Advice = {"eine Zeile {0}=\"PORT\"", "a row {0}=\"PORT\""},
    .Explanation = {
        "Die drei Ports stehen unter reginputport (Texte), rblinputport (Datenblöcke) und "
        "cmdinputport (Befehle). Fehlt einer, so hört der Server statt dessen auf 50000; fehlen "
        "mehrere, so teilen sie sich diesen Port.",
        "The three ports stand under reginputport (texts), rblinputport (data blocks) and "
        "cmdinputport (commands). If one is missing, the server listens on 50000 instead; if "
        "several are missing, they share that port."}};

constexpr Rule kPortRange = {
    .Id = "port-out-of-range",
    .Level = Severity::Error,
    .Title = {"Ein Port liegt außerhalb von 1 bis 65534", "A port is not within 1 to 65534"},
    .Problem = {"\"{0}\" ist kein Port von 1 bis 65534", "\"{0}\" is no port from 1 to 65534"},
    .Effect = {"Er nimmt für diesen Zweck den Port {1}.", "It takes port {1} for this purpose."},
    .Advice = {"eine Zahl von 1 bis 65534", "a number from 1 to 65534"},
    .Explanation = {
        "Eine 0 und alles über 65534 lehnt der Server ohne Meldung ab, auch 65535; er bleibt dann "
        "bei seinem eigenen Port 50000.",
        "A 0 and everything above 65534 is refused without a message, 65535 included; the server "
        "then stays with its own port 50000."}};

constexpr Rule kPortsEqual = {
    .Id = "ports-equal",
    .Level = Severity::Error,
    .Title = {"Zwei Ports sind gleich", "Two ports are equal"},
    .Problem = {"den Port {0} hat schon \"{1}\" in Zeile {2}",
                "port {0} belongs to \"{1}\" in line {2} already"},
    .Effect = {"Beide Empfänger öffnen den Port, und der Zufall entscheidet für jede Nachricht, "
               "welcher sie bekommt.",
               "Both receivers open the port, and chance decides for each message which of them "
               "gets it."},
    .Advice = {"drei verschiedene Ports", "three different ports"},
    .Explanation = {
        "Die Empfänger teilen Ports, damit ein neu gestarteter Server sofort wieder erreichbar "
        "ist. "
        "Darum schlägt auch ein doppelter Port nicht fehl: Das Betriebssystem verteilt die "
        "Verbindungen auf beide.",
        "The receivers share ports so that a restarted server can be reached at once. Therefore a "
        "port that stands twice does not fail: the operating system spreads the connections over "
        "both."}};

constexpr Rule kTimeoutZero = {
    .Id = "timeout-zero",
    .Level = Severity::Warning,
    .Title = {"Die Ansagen werden nie weggeräumt", "The announcements are never cleared away"},
    .Problem = {"TimeoutCache ist 0", "TimeoutCache is 0"},
    .Effect = {"Er räumt nie auf: Bleiben die Daten aus, so können Ansagen von gestern gespielt "
               "werden.",
               "It never clears: when data stop coming, announcements of yesterday can be played."},
    .Advice = {"die Sekunden nach dem letzten Datenblock, nach denen seine Ansagen veraltet sind",
               "the seconds after the last data block from which its announcements are outdated"},
    .Explanation = {
        "0 bedeutet nicht \"sofort\", sondern \"nie\". Die Ansagen bleiben, bis der Server neu "
        "gestartet wird oder ein neuer Datenblock sie ersetzt.",
        "0 does not mean \"at once\" but \"never\". The announcements stay until the server is "
        "restarted or a new data block replaces them."}};

constexpr Rule kTimeoutShort = {
    .Id = "timeout-short",
    .Level = Severity::Warning,
    .Title = {"Die Ansagen werden zu früh weggeräumt", "The announcements are cleared too early"},
    .Problem = {"TimeoutCache ist {0} Sekunden", "TimeoutCache is {0} seconds"},
    .Effect = {"Er räumt Ansagen weg, die noch gespielt werden sollen; eine Wiedergabe darf allein "
               "120 Sekunden dauern.",
               "It clears away announcements that are still to be played; a playback alone may "
               "take 120 seconds."},
    .Advice = {"mindestens 120 Sekunden, besser länger als der Abstand zweier Datenblöcke",
               "120 seconds at least, better more than the time between two data blocks"},
    .Explanation = {
        "Die Zeit läuft vom letzten Datenblock an. Bis zu 120 Sekunden wartet der Server, bis eine "
        "laufende Wiedergabe zu Ende ist; ist die Zeit kürzer, so sind die neuen Ansagen "
        "verschwunden, bevor sie jemand gehört hat.",
        "The time runs from the last data block on. The server waits up to 120 seconds for a "
        "playback to end; if the time is shorter, the new announcements are gone before anybody "
        "has heard them."}};

constexpr Rule kRules[] = {kFaultyNumber, kPortMissing, kPortRange,
                           kPortsEqual,   kTimeoutZero, kTimeoutShort};

constexpr int kDefaultPort = 50000;
constexpr int kLargestPort = 65534;
constexpr int kShortestCycle = 120;  // seconds

/// The server's own reading of a number.
int NumberOf(const Station& station, std::string_view key) {
  int number = 0;
  Silently([&] { number = station.Profile().GetValueInt(std::string(key)); });
  return number;
}

bool IsDigits(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

/// Whether digits are a number up to `limit`.
bool IsUpTo(const std::string& digits, int limit) {
  constexpr std::size_t kMostDigits = 10;
  const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size());
  const std::string number = digits.substr(first);
  return number.size() <= kMostDigits && (number.empty() || std::stoll(number) <= limit);
}

/// What a listener makes of a number.
int UsedPort(int number) {
  return number >= 1 && number <= kLargestPort ? number : kDefaultPort;
}

void CheckPorts(const CheckInput& input, const ProfileFile& file, Report& report) {
  std::map<int, const ProfileRow*> taken;
  for (const std::string_view key : kPortKeys) {
    const ProfileRow* row = file.Find(key);
    const int number = NumberOf(input.Station, key);
    if (row == nullptr) {
      if (!file.Mentions(key)) AddFinding(report, kPortMissing, file.At(), key);
    } else if (!IsDigits(row->Value)) {
      AddFinding(report, kFaultyNumber, file.ValueAt(*row), row->Value, number);
    } else if (number == 0 || !IsUpTo(row->Value, kLargestPort)) {
      AddFinding(report, kPortRange, file.ValueAt(*row), row->Value, UsedPort(number));
    } else if (const auto [other, isFirst] = taken.emplace(number, row); !isFirst) {
      AddFinding(report, kPortsEqual, file.ValueAt(*row), number, other->second->Name,
                 other->second->Line);
    }
  }
}

void CheckTimeout(const CheckInput& input, const ProfileFile& file, Report& report) {
  constexpr int kLargest = 2147483647;
  const ProfileRow* row = file.Find("TimeoutCache");
  if (row == nullptr || row->Value.empty()) return;
  const int seconds = NumberOf(input.Station, "TimeoutCache");
  if (!IsDigits(row->Value) || !IsUpTo(row->Value, kLargest)) {
    AddFinding(report, kFaultyNumber, file.ValueAt(*row), row->Value, seconds);
  } else if (seconds == 0) {
    AddFinding(report, kTimeoutZero, file.ValueAt(*row));
  } else if (seconds < kShortestCycle) {
    AddFinding(report, kTimeoutShort, file.ValueAt(*row), seconds);
  }
}

void Check(const CheckInput& input, Report& report) {
  const ProfileFile file(input.Station.Config());
  CheckPorts(input, file, report);
  CheckTimeout(input, file, report);
}

}  // namespace

RuleGroup NumberRules() {
  return {{"Ports und Zeiten der Konfiguration", "Ports and times of the configuration"},
          kRules,
          Check};
}

}  // namespace tools
