// The figures of `ka-tts doctor` for monitoring.

#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "doctor/metrics.h"
#include "doctor_station.h"
#include "exposition_text.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class DoctorFigures : public DoctorStation {
 protected:
  ExpositionText Figures(std::vector<std::string> options = {}) const {
    options.insert(options.end(), {"--prometheus", "-"});
    return ExpositionText(Doctor(options).Out);
  }
};

TEST_F(DoctorFigures, AreReadableByACollector) {
  Start();
  SendBlock();
  const ExpositionText figures = Figures();
  EXPECT_THAT(figures.Faults(), IsEmpty());
  EXPECT_GE(figures.Types().size(), 15U);
  EXPECT_EQ(figures.Types().size(), tools::MetricFamilies().size());
}

TEST_F(DoctorFigures, OfAStoppedStationAreReadableToo) {
  const ExpositionText figures = Figures();
  EXPECT_THAT(figures.Faults(), IsEmpty());
  EXPECT_GE(figures.Types().size(), 15U);
  EXPECT_EQ(figures.At("ka_tts_up"), 0);
}

TEST_F(DoctorFigures, TellWhatRunsAndLies) {
  Start();
  SendBlock();
  const ExpositionText figures = Figures();
  EXPECT_EQ(figures.At("ka_tts_up"), 1);
  EXPECT_EQ(figures.At("ka_tts_server_processes"), 1);
  const auto now = static_cast<double>(std::time(nullptr));
  EXPECT_NEAR(figures.At("ka_tts_server_start_time_seconds"), now, 120);
  EXPECT_NEAR(figures.At("ka_tts_last_block_timestamp_seconds"), now, 120);
  EXPECT_GT(figures.At("ka_tts_server_resident_memory_bytes"), 1e6);
  for (const char* port : {"text", "data", "command"})
    EXPECT_EQ(figures.At(std::string("ka_tts_port_listeners{port=\"") + port + "\"}"), 1);
  EXPECT_EQ(figures.At("ka_tts_store_texts"), 2);
  EXPECT_EQ(figures.At("ka_tts_store_faulty_texts"), 0);
  EXPECT_EQ(figures.At("ka_tts_play_speeches"), 2);
  EXPECT_EQ(figures.At("ka_tts_directory_files{directory=\"store\"}"), 4);
  EXPECT_EQ(figures.At("ka_tts_directory_content_bytes{directory=\"play\"}"),
            static_cast<double>(fs::file_size(Path("run/play/de0.wav")) +
                                fs::file_size(Path("run/play/en0.wav"))));
  EXPECT_EQ(figures.At("ka_tts_engine_probe_success{command=\"save\",language=\"de\"}"), 1);
  EXPECT_EQ(figures.At("ka_tts_doctor_findings{severity=\"error\"}"), 0);
}

TEST_F(DoctorFigures, TellMarkersAndFindings) {
  stage().Write("run/play/playblock", "blocked");
  MakeOlder(Path("run/play/playblock"));
  stage().Write("run/store/de0", "text");
  const ExpositionText figures = Figures({"--no-probe"});
  EXPECT_EQ(figures.At("ka_tts_marker_present{marker=\"play\"}"), 1);
  EXPECT_NEAR(figures.At("ka_tts_marker_age_seconds{marker=\"play\"}"), 3600, 120);
  EXPECT_EQ(figures.At("ka_tts_marker_present{marker=\"save\"}"), 0);
  EXPECT_EQ(figures.At("ka_tts_store_faulty_texts"), 1);
  EXPECT_EQ(figures.At("ka_tts_doctor_findings{severity=\"error\"}"), 2);
  EXPECT_EQ(figures.At("ka_tts_doctor_finding{finding=\"speech-missing\"}"), 1);
  EXPECT_EQ(figures.At("ka_tts_doctor_mended"), 0);
  const auto now = static_cast<double>(std::time(nullptr));
  EXPECT_NEAR(figures.At("ka_tts_last_failure_timestamp_seconds"), now, 120);
  EXPECT_NEAR(figures.At("ka_tts_last_failed_speech_timestamp_seconds"), now, 120);
}

TEST_F(DoctorFigures, CountWhatWasMended) {
  stage().Write("run/play/playblock", "blocked");
  const ExpositionText figures = Figures({"--no-probe", "--repair"});
  EXPECT_EQ(figures.At("ka_tts_doctor_mended"), 1);
  EXPECT_EQ(figures.At("ka_tts_doctor_findings{severity=\"error\"}"), 0);
}

TEST_F(DoctorFigures, KeepTheirLatestTimesInTheFile) {
  const std::string file = Path("station.prom");
  stage().Write("run/play/de0.wav", "");
  stage().Write("run/play/playblock", "blocked");
  EXPECT_EQ(Doctor({"--no-probe", "--prometheus", file}).Status, 1);
  const ExpositionText before(Content(file));
  stage().Remove("run/play/de0.wav");
  stage().Remove("run/play/playblock");
  EXPECT_EQ(Doctor({"--no-probe", "--prometheus", file}).Status, 0);
  const ExpositionText after(Content(file));
  for (const char* family :
       {"ka_tts_last_block_timestamp_seconds", "ka_tts_last_failure_timestamp_seconds"}) {
    EXPECT_GT(before.At(family), 0);
    EXPECT_EQ(after.At(family), before.At(family));
  }
  EXPECT_EQ(after.At("ka_tts_doctor_findings{severity=\"error\"}"), 0);
}

TEST_F(DoctorFigures, ReplaceTheirFileByAnotherOne) {
  const std::string file = Path("textfiles/station.prom");
  stage().Write("textfiles/station.prom", "old");
  fs::permissions(file, fs::perms(0640));
  const std::string link = Path("old.prom");
  fs::create_hard_link(file, link);
  const Ended ended = Doctor({"--no-probe", "--prometheus", file});
  EXPECT_THAT(ended.Out, StartsWith("The server is not running.\n"));
  EXPECT_EQ(Content(link), "old") << "a reader of the old file was disturbed";
  EXPECT_THAT(ExpositionText(Content(file)).Faults(), IsEmpty());
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
  EXPECT_THAT(Entries(Path("textfiles")), ElementsAre("station.prom"));
}

TEST_F(DoctorFigures, StandInTheJsonReportToo) {
  const auto report = nlohmann::json::parse(Doctor({"--json"}).Out);
  EXPECT_EQ(report["server"]["running"], false);
  EXPECT_EQ(report["errors"], 0);
  double up = -1;
  for (const auto& figure : report["metrics"])
    if (figure["name"] == "ka_tts_up") up = figure["value"];
  EXPECT_EQ(up, 0);
  EXPECT_EQ(report["metrics"].size(), Figures().Series().size());
}

TEST(DoctorMetrics, EscapeTheirLabels) {
  tools::Metrics metrics;
  metrics.Set("ka_tts_marker_present", {{"marker", "a\"b\\c\nd"}}, 1);
  EXPECT_THAT(ExpositionText(metrics.Text()).Faults(), IsEmpty());
  EXPECT_EQ(metrics.Text(),
            "# HELP ka_tts_marker_present Whether a marker that stops playing or saving is set.\n"
            "# TYPE ka_tts_marker_present gauge\n"
            "ka_tts_marker_present{marker=\"a\\\"b\\\\c\\nd\"} 1\n");
}

TEST(DoctorMetrics, OfNoFamilyAreRefused) {
  tools::Metrics metrics;
  EXPECT_THROW(metrics.Set("ka_tts_unknown", 1), std::logic_error);
}

/// The reader of this test is as strict as it claims.
TEST(ExpositionTextTest, FindsEachFault) {
  const std::string good = "# HELP a_seconds Age.\n# TYPE a_seconds gauge\n";
  EXPECT_THAT(ExpositionText(good + "a_seconds 1\n").Faults(), IsEmpty());
  EXPECT_THAT(ExpositionText(good + "a_seconds{b=\"c\",d=\"\"} +Inf\n").Faults(), IsEmpty());
  for (const char* faulty :
       {"a_seconds 1", "a_seconds one\n", "a_seconds 1 1700000000\n", "a_seconds 1\na_seconds 2\n",
        "a_seconds{b=c} 1\n", "a_seconds{b=\"c\"}1\n", "a_seconds{b=\"c\",b=\"d\"} 1\n",
        "a_seconds{b=\"\\c\"} 1\n", "a_seconds  1\n", "b_seconds 1\n", "\na_seconds 1\n", "",
        "a_seconds 1\n# HELP a_seconds Age.\n", "a_seconds{le=\"1\"} 1\n"})
    EXPECT_THAT(ExpositionText(good + faulty).Faults(), Not(IsEmpty())) << faulty;
  for (const char* name : {"a_total", "a_count", "aB", "a_ms", "a_gauge"}) {
    const std::string text =
        std::string("# HELP ") + name + " A.\n# TYPE " + name + " gauge\n" + name + " 1\n";
    EXPECT_THAT(ExpositionText(text).Faults(), Not(IsEmpty())) << name;
  }
}

}  // namespace

}  // namespace toolstest
