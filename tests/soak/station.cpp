#include "station.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "process_info.h"
#include "support/wait_until.h"

namespace soak {

namespace {

void WriteScript(const std::string& path, const std::string& lines) {
  std::filesystem::remove(path);
  std::ofstream(path) << "#!/bin/sh\n" << lines;
  std::filesystem::permissions(path, std::filesystem::perms(0755));
}

/// The environment of the server: its programs, and what sanitizers look for. The allocator keeps
/// what it has taken: that its arenas shrink and grow again at any time would hide a slope, or
/// feign one.
std::vector<std::string> Environment(const std::string& path) {
  std::vector<std::string> environment{"PATH=" + path, "MALLOC_TRIM_THRESHOLD_=1073741824"};
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    if (value != nullptr) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

}  // namespace

Station::Station(int cacheSeconds) {
  const std::string document = support::ReadFile(stage_.Dir() + "/station.xml");
  stage_.WriteDocument(servertest::Replaced(document, "maxrows=\"3\"", "maxrows=\"20\""));
  stage_.Set("TimeoutCache", std::to_string(cacheSeconds));
  UseEngines();
  UsePlayers();
  stage_.WriteConfiguration();
  Launch();
}

Station::~Station() {
  server_.reset();
  reader_.join();
}

void Station::UseEngines() {
  const std::string engine = stage_.EngineDir() + "/ka-espeak-ng";
  servertest::LinkOrCopy(KA_ENGINE_PATH, engine);
  WriteScript(stage_.EngineDir() + "/save",
              "[ $(($$ % 8)) -ne 0 ] || exec " + engine +
                  " --voice de --discard-on-failure -- \"$@\"\n"
                  "printf 'speech' >\"$2.$$\" && exec /bin/mv \"$2.$$\" \"$2\"\n");
  WriteScript(stage_.EngineDir() + "/speak",
              "[ $(($$ % 8)) -ne 0 ] || exec " + engine + " --voice de -- \"$@\"\n");
}

void Station::UsePlayers() {
  const std::string bin = stage_.Stubs().Directory() + "/";
  // A player takes what the engine sends it, or some time.
  WriteScript(bin + "aplay",
              "case \"$*\" in *' -') exec /bin/cat >/dev/null ;; esac\nexec /bin/sleep 0.05\n");
  for (const char* quick : {"play", "killall", "reboot"})
    WriteScript(bin + quick, "exit 0\n");
  for (const char* tool : {"find", "rm", "cp"})
    stage_.Stubs().AddReal(tool);
}

void Station::Launch() {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  output_ = kaDescriptor(ends[0]);
  const kaDescriptor writer(ends[1]);
  servertest::Launch plan;
  plan.Executable = stage_.Executable();
  plan.WorkingDirectory = stage_.WorkDir();
  plan.Environment = Environment(stage_.Stubs().Directory());
  plan.Out = writer.Get();
  plan.Err = writer.Get();
  server_ = std::make_unique<servertest::ServerProcess>(plan);
  reader_ = std::thread([this] { ReadOutput(); });
  const bool ready = support::WaitUntil([this] { return messages_ == 2; });
  for (const unsigned port : {stage_.TextPort(), stage_.DataPort(), stage_.CommandPort()}) {
    if (!ready || !support::WaitUntil([&] { return servertest::ListensOn(Pid(), port); })) {
      std::fputs("The server did not come up.\n", stderr);
      std::exit(EXIT_FAILURE);  // NOLINT(concurrency-mt-unsafe)
    }
  }
}

void Station::ReadOutput() {
  std::string text;
  std::array<char, 65536> buffer{};
  ssize_t count = 0;
  while ((count = read(output_.Get(), buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', begin)) {
      Count(text.substr(begin, end - begin));
      begin = end + 1;
    }
    text.erase(0, begin);
  }
}

void Station::Count(const std::string& line) {
  if (line.ends_with("Meldung OK ")) ++goodBlocks_;
  if (line.ends_with("Die Meldung konnte nicht generiert werden!!!")) ++refusedBlocks_;
  if (line.find("***Cache Timeout***") != std::string::npos) ++clearings_;
  if (line.starts_with("ka-TTS-Server: ")) ++messages_;
  if (line.find("Sanitizer") != std::string::npos ||
      line.find("runtime error") != std::string::npos) {
    ++sanitizerLines_;
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

}  // namespace soak
