#ifndef KA_TESTS_TOOLS_DOCTOR_STATION_H
#define KA_TESTS_TOOLS_DOCTOR_STATION_H

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "program.h"
#include "server/demo_station.h"

namespace toolstest {

/// The demo station with its real engine, in a real server or in none. aplay is recorded and plays
/// into a file.
class DoctorStation : public servertest::DemoStation {
 protected:
  DoctorStation();

  /// Runs `ka-tts doctor` on the station.
  Ended Doctor(std::vector<std::string> options,
               std::vector<std::pair<std::string, std::string>> environment = {}) const;
  /// What a run finds: "finding file" each, in the order of their coming.
  std::vector<std::string> Found(const std::vector<std::string>& options = {"--no-probe"}) const;

  /// Expects that just this is found, mended on request and not found any more.
  void ExpectMended(const std::string& finding, const std::string& file) const;
  /// Expects that just this is found, and that nothing is changed about it.
  void ExpectOnly(const std::string& finding, const std::string& file,
                  const std::vector<std::string>& options = {"--no-probe"}) const;

  std::string Path(const std::string& name) const { return stage().Dir() + "/" + name; }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }
  /// Sends a block and expects it to be spoken.
  void SendBlock() const;
  /// Names of the files that players wrote.
  std::vector<std::string> Heard() const { return Entries(Path("heard")); }
  std::string SoundSettings() const { return Path("asound.conf"); }
};

/// Makes a file look as if it had been written an hour ago.
void MakeOlder(const std::string& file);

}  // namespace toolstest

#endif
