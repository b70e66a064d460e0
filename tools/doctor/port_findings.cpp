#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr Complaint kTaken = {
    .What = {.Id = "port-taken",
             .Level = Severity::Error,
             .Title = {"Einen Port der Station hat ein anderes Programm",
                       "Another program has a port of the station"},
             .Problem = {"Port {0} ({1}) hat {2}", "port {0} ({1}) is held by {2}"},
             .Effect = {"Er kann den Port nicht öffnen und läuft ohne ihn: Was dort ankommt, geht "
                        "an das andere Programm.",
                        "It cannot open the port and runs without it: what comes there goes to the "
                        "other program."},
             .Advice = {"das andere Programm beenden oder {3} ändern",
                        "end the other program or change {3}"},
             .Explanation = {"Aus den Tabellen des Kernels; eine Verbindung wird nicht aufgebaut. "
                             "Wem ein Port gehört, sieht nur root oder derselbe Benutzer.",
                             "From the kernel's tables; no connection is made. Only root or the "
                             "same user can see to whom a port belongs."}},
    .Repair = {"nichts: fremde Programme werden nicht beendet",
               "nothing: other programs are not ended"}};

constexpr Complaint kShared = {
    .What =
        {.Id = "port-shared",
         .Level = Severity::Error,
         .Title = {"Auf einem Port antworten zwei Programme", "Two programs answer on a port"},
         .Problem = {"Port {0} ({1}) teilen sich {2}", "port {0} ({1}) is shared by {2}"},
         .Effect = {"Der Kernel verteilt die Verbindungen auf sie: Jede zweite Nachricht geht "
                    "verloren oder an den falschen Server.",
                    "The kernel spreads the connections over them: every second message is "
                    "lost or goes to the wrong server."},
         .Advice = {"alle bis auf einen Server beenden", "end all servers but one"},
         .Explanation = {"Der Server teilt seine Ports (SO_REUSEPORT), so dass ein zweiter ohne "
                         "Fehlermeldung dazukommt, etwa ein von Hand gestarteter.",
                         "The server shares its ports (SO_REUSEPORT), so that a second one "
                         "joins without an error, e.g. one that was started by hand."}},
    .Repair = {"nichts: Welcher der richtige ist, weiß nur der Betreiber",
               "nothing: only the operator knows which is the right one"}};

constexpr Complaint kClosed = {
    .What =
        {.Id = "port-closed",
         .Level = Severity::Error,
         .Title = {"Der Server läuft, aber ein Port ist nicht offen",
                   "The server runs, but a port is not open"},
         .Problem = {"auf Port {0} ({1}) wartet niemand", "nobody listens on port {0} ({1})"},
         .Effect = {"Er nimmt dort nichts an: Verbindungen werden abgewiesen.",
                    "It takes nothing there: connections are refused."},
         .Advice = {"\"ka-tts check\" ausführen, dann den Server neu starten",
                    "run \"ka-tts check\", then restart the server"},
         .Explanation = {"Der Server läuft auch weiter, wenn sein Start misslang, etwa an einem "
                         "fehlerhaften Dokument, und er öffnet die Ports, die beim Start in "
                         "der Konfiguration standen.",
                         "The server goes on running when its start failed, e.g. for a faulty "
                         "document, and it opens the ports that were in the configuration at "
                         "its start."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kSilent = {
    .What = {.Id = "client-silent",
             .Level = Severity::Error,
             .Title = {"Ein verbundener Client sendet nichts und hält einen Port besetzt",
                       "A connected client sends nothing and holds a port"},
             .Problem = {"{2} ist seit {3:.0f} s mit Port {0} ({1}) verbunden und hat nichts "
                         "gesendet; {4} warten",
                         "{2} has been connected to port {0} ({1}) for {3:.0f} s and has sent "
                         "nothing; {4} are waiting"},
             .Effect = {"Er bedient einen nach dem anderen und wartet auf diesen ohne Grenze: Der "
                        "Port nimmt nichts an.",
                        "It serves one after the other and waits for this one without a limit: the "
                        "port takes nothing."},
             .Advice = {"die Verbindung beim Client beenden, sonst den Server neu starten",
                        "end the connection at the client, else restart the server"},
             .Explanation = {"Aus den Tabellen des Kernels, ohne eine Verbindung aufzubauen: eine "
                             "angenommene Verbindung, auf der seit 5 s oder länger noch kein Byte "
                             "kam. Ein Gerät, das fort ist, gibt den Port nach einer Minute "
                             "selbst frei.",
                             "From the kernel's tables, without making a connection: one that was "
                             "accepted and on which no byte has come for 5 s or more. A device "
                             "that is gone frees the port by itself after a minute."}},
    .Repair = {"nichts: Die Verbindung gehört dem Client",
               "nothing: the connection is the client's"}};

constexpr Complaint kComplaints[] = {kTaken, kShared, kClosed, kSilent};

constexpr Bilingual kProcess = {"{0} (Prozess {1})", "{0} (process {1})"};
constexpr Bilingual kUser = {"ein Prozess des Benutzers {0}", "a process of user {0}"};

struct Port {
  std::string Name;
  std::string Key;
  unsigned Number;
};

/// The port that the server opens: one that is no port leaves the listener on its default.
unsigned PortNumber(const Station& station, const std::string& key) {
  constexpr int kHighest = 65534;
  constexpr unsigned kDefault = 50000;
  int number = 0;
  Silently([&] { number = station.Profile().GetValueInt(key); });
  return number > 0 && number <= kHighest ? static_cast<unsigned>(number) : kDefault;
}

std::vector<Port> PortsOf(const Station& station) {
  std::vector<Port> ports = {
      {"text", "reginputport", 0}, {"data", "rblinputport", 0}, {"command", "cmdinputport", 0}};
  for (Port& port : ports)
    port.Number = PortNumber(station, port.Key);
  return ports;
}

class PortCheck {
 public:
  PortCheck(const Examination& examination, Diagnosis& diagnosis)
      : examination_(examination),
        diagnosis_(diagnosis),
        processes_(ProcessTable::Read()),
        states_(ReadConnectionStates()) {}

  void Run() {
    for (const Port& port : PortsOf(examination_.Station())) {
      CheckListeners(port);
      CheckClients(port);
    }
  }

 private:
  std::vector<TcpSocket> Listeners(unsigned port) const {
    std::vector<TcpSocket> listeners = examination_.Sockets();
    std::erase_if(listeners,
                  [port](const TcpSocket& s) { return !s.bListening || s.Port != port; });
    return listeners;
  }

  /// Whether a server of the station has the socket open. Where owners may not be seen, a socket
  /// of the server's user is taken for its own.
  bool IsOurs(const TcpSocket& socket) const {
    const auto& servers = examination_.Servers();
    const auto& user = examination_.ServerUser();
    if (socket.Owners.empty())
      return examination_.IsRunning() && user.has_value() && socket.User == user->User;
    return std::any_of(servers.begin(), servers.end(), [&socket](const Process& server) {
      return std::find(socket.Owners.begin(), socket.Owners.end(), server.Id) !=
             socket.Owners.end();
    });
  }

  std::string OwnerOf(const TcpSocket& socket) const {
    const Language language = diagnosis_.Lang();
    if (socket.Owners.empty()) return Say(kUser, language, std::to_string(socket.User));
    const Process* owner = processes_.Find(socket.Owners.front());
    return Say(kProcess, language, owner == nullptr ? std::string("?") : owner->Name,
               socket.Owners.front());
  }

  std::string OwnersOf(const std::vector<TcpSocket>& sockets) const {
    std::string owners;
    for (const TcpSocket& socket : sockets)
      owners += (owners.empty() ? "" : ", ") + OwnerOf(socket);
    return owners;
  }

  void CheckListeners(const Port& port) {
    const std::vector<TcpSocket> listeners = Listeners(port.Number);
    unsigned waiting = 0;
    for (const TcpSocket& listener : listeners)
      waiting += listener.Waiting;
    const MetricLabels labels = {{"port", port.Name}};
    diagnosis_.Figures().Set("ka_tts_port_listeners", labels,
                             static_cast<double>(listeners.size()));
    diagnosis_.Figures().Set("ka_tts_port_waiting_clients", labels, waiting);

    const bool isOurs = std::any_of(listeners.begin(), listeners.end(),
                                    [this](const TcpSocket& s) { return IsOurs(s); });
    if (listeners.size() > 1 && isOurs) {
      AddPort(kShared, port, OwnersOf(listeners));
    } else if (!listeners.empty() && !isOurs) {
      AddPort(kTaken, port, OwnersOf(listeners));
    } else if (listeners.empty() && examination_.IsRunning() && StaysClosed(port.Number)) {
      AddPort(kClosed, port, "");
    }
  }

  void AddPort(const Complaint& complaint, const Port& port, const std::string& owners) {
    diagnosis_.Add(complaint.What, examination_.Station().Config(), {}, port.Number, port.Name,
                   owners, port.Key);
  }

  /// Not in the midst of the server's start, which may have phrases to make before it opens ports.
  bool StaysClosed(unsigned port) const {
    const pid_t server = examination_.Servers().front().Id;
    return HoldsOn([port, server] {
      const ProcessTable table = ProcessTable::Read();
      const auto sockets = ReadTcpSockets(table, server);
      return std::none_of(sockets.begin(), sockets.end(),
                          [port](const TcpSocket& s) { return s.bListening && s.Port == port; }) &&
             std::none_of(table.All().begin(), table.All().end(),
                          [&](const Process& p) { return table.IsBelow(p.Id, server); });
    });
  }

  void CheckClients(const Port& port) {
    constexpr double kPatience = 5;
    double longest = 0;
    for (const TcpSocket& client : examination_.Sockets()) {
      if (client.bListening || client.Port != port.Number || !IsOurs(client)) continue;
      const double silence = SilenceOf(client);
      longest = std::max(longest, silence);
      if (silence >= kPatience) AddSilent(port, client, silence);
    }
    if (states_)
      diagnosis_.Figures().Set("ka_tts_port_silent_client_seconds", {{"port", port.Name}}, longest);
  }

  void AddSilent(const Port& port, const TcpSocket& client, double silence) {
    unsigned waiting = 0;
    for (const TcpSocket& listener : Listeners(port.Number))
      waiting += listener.Waiting;
    diagnosis_.Add(kSilent.What, examination_.Station().Config(), {}, port.Number, port.Name,
                   client.Peer, silence, waiting);
  }

  /// Since when the connection is there if nothing has come on it; else 0.
  double SilenceOf(const TcpSocket& client) const {
    const auto state = states_ ? states_->find(client.Inode) : decltype(states_->end()){};
    if (!states_ || client.Inode == 0 || state == states_->end()) return 0;
    return state->second.BytesReceived == 0 ? state->second.SecondsSinceReceived : 0;
  }

  const Examination& examination_;
  Diagnosis& diagnosis_;
  ProcessTable processes_;
  std::optional<std::map<unsigned long, ConnectionState>> states_;
};

void Check(const Examination& examination, Diagnosis& diagnosis) {
  PortCheck(examination, diagnosis).Run();
}

}  // namespace

FindingGroup PortFindings() {
  return {{"Ports", "Ports"}, kComplaints, Check};
}

}  // namespace tools
