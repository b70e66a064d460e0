#ifndef KA_TOOLS_EXAMINATION_H
#define KA_TOOLS_EXAMINATION_H

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/document.h"
#include "common/station.h"
#include "doctor/process_table.h"
#include "doctor/tcp_table.h"

namespace tools {

/// How the doctor is to go about it.
struct DoctorOptions {
  bool bProbe = true;                             ///< whether the engine is tried out
  double TimeLimit = 10;                          ///< seconds that the engine may take
  std::string SoundCards = "/proc/asound/cards";  ///< the kernel's list of sound cards
  std::string SoundDevices = "/dev/snd";
};

/// A directory that the server writes into.
struct ServerDirectory {
  std::string Name;  ///< "store", "play", or "steady-" and a language
  std::string Path;
};

/// What all checks look at: the station's files, and what of it runs.
class Examination {
 public:
  Examination(const Station& station, DoctorOptions options);
  Examination(const Examination&) = delete;
  Examination& operator=(const Examination&) = delete;

  const tools::Station& Station() const { return station_; }
  const DoctorOptions& Options() const { return options_; }
  /// Null if it cannot be read.
  const tools::Document* Document() const { return document_.get(); }

  /// The servers of this station that run: one, if all is well.
  const std::vector<Process>& Servers() const { return servers_; }
  bool IsRunning() const { return !servers_.empty(); }
  /// TCP sockets of the server's network.
  const std::vector<TcpSocket>& Sockets() const { return sockets_; }

  /// The user as whom the server runs or would run; nothing if that is not known.
  const std::optional<Identity>& ServerUser() const { return user_; }
  /// Whether this program has the server's rights or can take them on.
  bool SeesWithServerEyes() const;
  /// The server's environment, or this program's own.
  const std::map<std::string, std::string>& Environment() const { return environment_; }
  std::string WorkingDirectory() const { return workingDirectory_; }

  /// A directory of the configuration, "" if it is not set.
  std::string Directory(const std::string& key) const;
  std::string StoreDirectory() const { return Directory("storetempram"); }
  std::string PlayDirectory() const { return Directory("playtempram"); }
  /// All of them that are configured.
  std::vector<ServerDirectory> Directories() const;
  /// The languages of the announcement document that have prepared phrases.
  std::vector<std::string> SteadyLanguages() const;

 private:
  const tools::Station& station_;
  DoctorOptions options_;
  std::unique_ptr<const tools::Document> document_;
  std::vector<Process> servers_;
  std::vector<TcpSocket> sockets_;
  std::optional<Identity> user_;
  std::map<std::string, std::string> environment_;
  std::string workingDirectory_;
};

/// Whether something holds each time it is looked at for half a second. The server puts files and
/// markers there shortly before it starts what uses them.
bool HoldsOn(const std::function<bool()>& condition);

/// The age of a point in time, in seconds; 0 for one in the future.
double AgeOf(const std::timespec& time);
/// A point in time in seconds since 1970.
double SecondsOf(const std::timespec& time);

}  // namespace tools

#endif
