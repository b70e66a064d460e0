#include "demo_station.h"

#include <stdexcept>
#include <string_view>

namespace toolstest {

namespace {

namespace fs = std::filesystem;

constexpr const char* kConfig = "kaconfig/kaTtsServer.kacfg";

std::string Replaced(std::string text, std::string_view mark, std::string_view value) {
  for (std::size_t at = text.find(mark); at != std::string::npos;
       at = text.find(mark, at + value.size())) {
    text.replace(at, mark.size(), value);
  }
  return text;
}

}  // namespace

fs::path Project() {
  return KA_SOURCE_DIR;
}

DemoStation::DemoStation() {
  for (const char* data : {"messages", "lexidata", "announcements"}) {
    fs::copy(Project() / data, Sub(data), fs::copy_options::recursive);
  }
  std::string configuration =
      support::ReadFile((Project() / "kaconfig" / "kaTtsServer.kacfg.in").string());
  configuration = Replaced(configuration, "@STAGE@", Dir());
  configuration = Replaced(configuration, "@REGPORT@", "5701");
  configuration = Replaced(configuration, "@RBLPORT@", "5702");
  configuration = Replaced(configuration, "@CMDPORT@", "5703");
  Write(kConfig, configuration);
  for (const char* directory : {"run/store", "run/play", "run/steady/de", "run/steady/en"}) {
    fs::create_directories(Sub(directory));
  }
  fs::copy_file(Project() / "scripts" / "restart", Sub("restart"));
  for (const char* program : {"ka-tts-server", "engines/espeak-ng/ka-espeak-ng"}) {
    fs::permissions(Write(program, "#!/bin/sh\nexit 0\n"), fs::perms(0755));
  }
}

void DemoStation::Overlay(const fs::path& directory) const {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    const std::string name = entry.path().lexically_relative(directory).string();
    const std::string content = support::ReadFile(entry.path().string());
    Write(name, name == kConfig ? Replaced(content, "@STAGE@", Dir()) : content);
  }
}

void DemoStation::Replace(const std::string& name, const std::string& from,
                          const std::string& to) const {
  std::string content = support::ReadFile(Sub(name));
  const std::size_t at = content.find(from);
  if (at == std::string::npos || content.find(from, at + 1) != std::string::npos) {
    throw std::invalid_argument("not exactly once in " + name + ": " + from);
  }
  Write(name, content.replace(at, from.size(), to));
}

}  // namespace toolstest
