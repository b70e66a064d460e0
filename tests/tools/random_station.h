#ifndef KA_TESTS_TOOLS_RANDOM_STATION_H
#define KA_TESTS_TOOLS_RANDOM_STATION_H

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace toolstest {

/// Random choices; the same from the same seed on every machine.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}

  /// From 0 to `count` - 1.
  std::size_t Below(std::size_t count) { return engine_() % count; }
  bool Percent(unsigned chance) { return Below(100) < chance; }
  int Between(int least, int most) {
    return least + static_cast<int>(
                       Below(static_cast<std::size_t>(most) - static_cast<std::size_t>(least) + 1));
  }
  template <std::size_t N>
  const char* Pick(const std::array<const char*, N>& words) {
    return words[Below(N)];
  }

 private:
  std::mt19937_64 engine_;
};

/// A file of a station: its name below the station's directory, and its bytes.
struct StationFile {
  std::string Name;
  std::string Content;
};

/// An announcement document "station.xml" that is often valid, sometimes odd or broken, and lexica
/// for it.
std::vector<StationFile> RandomStationFiles(Dice& dice);

/// What a client sends: a data block that fits such documents, or is odd, or broken.
std::string RandomMessage(Dice& dice);

}  // namespace toolstest

#endif
