#include "demo_station.h"

#include <algorithm>
#include <filesystem>

namespace servertest {

namespace {

namespace fs = std::filesystem;

const fs::path& Project() {
  static const fs::path* const project = new fs::path(KA_SOURCE_DIR);
  return *project;
}

fs::path Blocks() {
  return Project() / "announcements" / "blocks";
}

}  // namespace

DemoStation::DemoStation() {
  stage().KeepConfigurationFile();
  for (const char* data : {"messages", "lexidata", "announcements"}) {
    stage().Remove(data);
    fs::copy(Project() / data, fs::path(stage().Dir()) / data, fs::copy_options::recursive);
  }
  std::string configuration =
      support::ReadFile((Project() / "kaconfig" / "kaTtsServer.kacfg.in").string());
  configuration = Replaced(configuration, "@STAGE@", stage().Dir());
  configuration = Replaced(configuration, "@REGPORT@", std::to_string(stage().TextPort()));
  configuration = Replaced(configuration, "@RBLPORT@", std::to_string(stage().DataPort()));
  configuration = Replaced(configuration, "@CMDPORT@", std::to_string(stage().CommandPort()));
  stage().Write("kaconfig/kaTtsServer.kacfg", configuration);
  fs::copy_file(Project() / "scripts" / "restart", stage().Dir() + "/restart");
  fs::create_directories(fs::path(EnginePath()).parent_path());
  Plan().WorkingDirectory = stage().Dir();
}

void DemoStation::UseStubEngine() {
  stubs().AddAt(EnginePath(), "engine",
                "while [ \"$1\" != -- ]; do shift; done\n"
                "[ $# -eq 3 ] || exit 0\n"
                "{ printf 'speech of: '; /bin/cat \"$2\"; } >\"$3\"");
}

std::vector<std::string> DemoStation::SampleBlocks() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(Blocks())) {
    if (entry.path().extension() == ".xml") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string DemoStation::SampleBlock(const std::string& name) {
  return support::ReadFile((Blocks() / (name + ".xml")).string());
}

std::string DemoStation::ExpectedTexts(const std::string& name) {
  return support::ReadFile((Blocks() / (name + ".expected")).string());
}

}  // namespace servertest
