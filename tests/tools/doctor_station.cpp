#include "doctor_station.h"

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

}  // namespace

DoctorStation::DoctorStation() {
  // A copy, since tests put other engines in its place.
  fs::copy_file(KA_ENGINE_PATH, EnginePath());
  stubs().Add("aplay", "exec /usr/bin/aplay -q \"$@\"");
  fs::create_directory(Path("heard"));
  stage().Write("asound.conf",
                "pcm.!default {\n"
                "  type file\n"
                "  slave.pcm { type null }\n"
                "  file \"" +
                    Path("heard/heard.wav") +
                    "\"\n"
                    "  format wav\n"
                    "  truncate false\n"
                    "}\n");
  Plan().Environment.push_back("ALSA_CONFIG_PATH=" + SoundSettings());
}

Ended DoctorStation::Doctor(std::vector<std::string> options,
                            std::vector<std::pair<std::string, std::string>> environment) const {
  options.insert(options.begin(), {"doctor", "--station", stage().Dir()});
  environment.insert(environment.begin(), {"ALSA_CONFIG_PATH", SoundSettings()});
  return RunTool(options, environment);
}

std::vector<std::string> DoctorStation::Found(const std::vector<std::string>& options) const {
  std::vector<std::string> all = options;
  all.emplace_back("--json");
  const Ended ended = Doctor(all);
  std::vector<std::string> found;
  const auto report = nlohmann::json::parse(ended.Out, nullptr, false);
  if (report.is_discarded()) return {"no report: " + ended.Out + ended.Err};
  for (const auto& finding : report["findings"]) {
    found.push_back(finding["finding"].get<std::string>() + " " +
                    finding["file"].get<std::string>());
  }
  EXPECT_EQ(ended.Status, found.empty() ? 0 : 1) << ended.Out;
  return found;
}

void DoctorStation::ExpectMended(const std::string& finding, const std::string& file) const {
  EXPECT_THAT(Found(), ElementsAre(finding + " " + file));
  const Ended repaired = Doctor({"--repair", "--no-probe"});
  EXPECT_EQ(repaired.Status, 0) << repaired.Out << repaired.Err;
  EXPECT_THAT(repaired.Out, ::testing::HasSubstr(finding + ": "));
  EXPECT_THAT(repaired.Out, ::testing::HasSubstr("    mended: "));
  EXPECT_THAT(repaired.Out, ::testing::HasSubstr("0 errors, 0 warnings, 0 hints; 1 mended\n"));
  EXPECT_THAT(Found(), IsEmpty());
}

void DoctorStation::ExpectOnly(const std::string& finding, const std::string& file,
                               const std::vector<std::string>& options) const {
  EXPECT_THAT(Found(options), ElementsAre(finding + " " + file));
  std::vector<std::string> repairing = options;
  repairing.emplace_back("--repair");
  EXPECT_THAT(Found(repairing), ElementsAre(finding + " " + file));
}

void DoctorStation::SendBlock() const {
  EXPECT_EQ(AskData(SampleBlock("departure-on-time")), servertest::kReceived);
  EXPECT_TRUE(Exists("run/play/de0.wav"));
}

void MakeOlder(const std::string& file) {
  fs::last_write_time(file, fs::last_write_time(file) - std::chrono::hours(1));
}

}  // namespace toolstest
