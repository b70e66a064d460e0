#include "bench_station.h"

#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "process_cost.h"
#include "support/loopback.h"
#include "support/temp_dir.h"
#include "support/wait_until.h"
#include "worlds.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr const char* kDocument = "announcements/station.xml";

/// The demo station for blocks of up to 20 rows.
std::string DemoDocument() {
  return servertest::Replaced(
      support::ReadFile(std::string(KA_SOURCE_DIR) + "/announcements/station.xml"), "maxrows=\"6\"",
      "maxrows=\"20\"");
}

void ReplaceBy(const std::string& path, const std::string& program) {
  fs::remove(path);
  fs::create_directories(fs::path(path).parent_path());
  fs::create_symlink(program, path);
}

void SetRealEngine(servertest::Stage& stage) {
  const std::string directory = stage.Dir() + "/engines/espeak-ng";
  fs::create_directories(directory);
  fs::copy_file(KA_ENGINE_PATH, directory + "/ka-espeak-ng");
  stage.Set("engineName", "espeak-ng");
  stage.Set("speakoutespeak-ng", "./ka-espeak-ng --voice de --");
  stage.Set("savespeechespeak-ng", directory + "/ka-espeak-ng --voice de --discard-on-failure --");
}

void SetNoEngine(servertest::Stage& stage) {
  ReplaceBy(stage.EngineDir() + "/save", "/usr/bin/true");
  stage.Set("speakoutstub", "true");
}

}  // namespace

BenchStation::BenchStation(Engine engine, const std::string& document)
    : programs_(stage_.Stubs().Directory()), nowhere_(open("/dev/null", O_RDWR | O_CLOEXEC)) {
  for (const char* data : {"messages", "lexidata", "announcements"}) {
    stage_.Remove(data);
    fs::copy(fs::path(KA_SOURCE_DIR) / data, fs::path(stage_.Dir()) / data,
             fs::copy_options::recursive);
  }
  stage_.Write(kDocument, document.empty() ? DemoDocument() : document);
  stage_.Set("speechformat", "./" + std::string(kDocument));
  stage_.Set("nonvoicesounds", stage_.Dir() + "/announcements/sounds");
  stage_.Set("TimeoutCache", "1800");
  for (const char* program : {"cp", "rm", "find"})
    stage_.Stubs().AddReal(program);
  ReplaceBy(programs_ + "/aplay", KA_PLAYER_PATH);
  if (engine == Engine::Real) {
    SetRealEngine(stage_);
  } else {
    SetNoEngine(stage_);
  }
  stage_.WriteConfiguration();
  for (const std::string& directory : {stage_.Store(), stage_.Play()})
    fs::create_directories(FloorPath(directory));
}

void BenchStation::WriteLexicon(const std::string& name, const std::string& content) const {
  for (const char* language : {"de", "en"})
    stage_.Write(std::string("lexidata/") + language + "/" + name, content);
}

servertest::Launch BenchStation::ServerLaunch() const {
  return LaunchOf(stage_.Executable(), {});
}

servertest::Launch BenchStation::LaunchOf(const std::string& executable,
                                          const std::vector<std::string>& arguments) const {
  servertest::Launch launch;
  launch.Executable = executable;
  launch.Arguments = arguments;
  launch.Environment = {"PATH=" + programs_, "LC_ALL=C",
                        "KA_BENCH_FIRST_SAMPLE=" + FirstSampleFile()};
  launch.WorkingDirectory = stage_.Dir();
  launch.Out = nowhere_.Get();
  launch.Err = nowhere_.Get();
  return launch;
}

std::unique_ptr<servertest::ServerProcess> BenchStation::Start(
    const servertest::Launch& launch) const {
  // The store is the last thing that a start clears.
  const std::string mark = stage_.Store() + "/not-cleared";
  std::ofstream(mark).close();
  auto server = std::make_unique<servertest::ServerProcess>(launch);
  const bool started = support::WaitUntil([&] {
    return !fs::exists(mark) &&
           PortsListen({stage_.TextPort(), stage_.DataPort(), stage_.CommandPort()});
  });
  if (!started) throw std::runtime_error("the server does not start");
  return server;
}

std::string BenchStation::FloorPath(const std::string& path) const {
  return servertest::Replaced(path, stage_.Dir() + "/run/", stage_.Dir() + "/flo/");
}

void BenchStation::FillStore(std::size_t rows) const {
  const std::string speech(44'100, '\0');  // about a second
  for (std::size_t row = 0; row < rows; ++row) {
    for (const char* language : {"/de", "/en"}) {
      const std::string file = stage_.Store() + language + std::to_string(row) + ".wav";
      std::ofstream(file) << speech;
      std::ofstream(FloorPath(file)) << speech;
    }
  }
}

double BenchStation::FirstSampleTime() const {
  double nanoseconds = 0;
  std::ifstream(FirstSampleFile()) >> nanoseconds;
  return nanoseconds / 1e6;
}

void Tell(unsigned port, const std::string& message) {
  if (support::Exchange(port, message) != "received\n") throw std::runtime_error("wrong answer");
}

}  // namespace bench
