#ifndef KA_BENCH_BENCH_STATION_H
#define KA_BENCH_BENCH_STATION_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "kaDescriptor.h"
#include "server/server_process.h"
#include "server/stage.h"

namespace bench {

/// Engines that a station can have.
enum class Engine {
  None,  ///< commands that do nothing; the speech files lie there already
  Real   ///< the default engine
};

/// The files of a station: the demo station, or one with a document and a lexicon made for it.
/// Shell, rm, find and cp are the machine's own; killall, reboot and play are stubs, and the player
/// notes when the first sample reaches it.
class BenchStation {
 public:
  /// \param document replaces the demo station's; "" keeps it
  explicit BenchStation(Engine engine, const std::string& document = "");

  servertest::Stage& Files() { return stage_; }
  const servertest::Stage& Files() const { return stage_; }
  void WriteLexicon(const std::string& name, const std::string& content) const;

  /// How the server is started here, its output thrown away.
  servertest::Launch ServerLaunch() const;
  /// The same for another program of this station.
  servertest::Launch LaunchOf(const std::string& executable,
                              const std::vector<std::string>& arguments) const;

  /// Starts a server and waits for the end of its start-up, i.e. until it has cleared its
  /// directories.
  std::unique_ptr<servertest::ServerProcess> Start(const servertest::Launch& launch) const;
  /// Where the floor program does what the server does in its store and play directory; as long as
  /// their names are.
  std::string FloorPath(const std::string& path) const;

  /// Puts a speech file for each of the first `rows` rows into the store, as an engine would; the
  /// floor's store gets the same.
  void FillStore(std::size_t rows) const;

  /// When the first sample last reached the player, in milliseconds on the monotonic clock.
  double FirstSampleTime() const;

 private:
  std::string FirstSampleFile() const { return stage_.Beside("first-sample"); }

  servertest::Stage stage_;
  std::string programs_;  ///< the whole PATH
  kaDescriptor nowhere_;
};

/// Sends a message on a connection of its own and waits for the answer and the end.
void Tell(unsigned port, const std::string& message);

}  // namespace bench

#endif
