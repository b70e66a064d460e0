#include "rule_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include "demo_station.h"
#include "program.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

fs::path Fixtures() {
  return Project() / "tests" / "tools" / "fixtures" / "rules";
}

void Prepare(const DemoStation& station) {
  if (!fs::exists(station.Sub("prepare"))) return;
  if (std::system(("cd '" + station.Dir() + "' && sh -eu ./prepare").c_str()) != 0) {
    throw std::runtime_error("the fixture's script failed");
  }
}

/// The station's directory or, if the fixture names one, a directory in it.
std::string DirectoryOf(const DemoStation& station) {
  const std::string name = support::ReadFile(station.Sub("directory"));
  return name.empty() ? station.Dir() : station.Sub(name.substr(0, name.find('\n')));
}

std::string LineOf(const nlohmann::json& finding) {
  std::string line = finding.at("file");
  for (const char* number : {"line", "column"}) {
    const int value = finding.at(number);
    if (value != 0) line += ":" + std::to_string(value);
  }
  return line + " " + std::string(finding.at("rule"));
}

}  // namespace

std::string RuleFixture::Path() const {
  return (Fixtures() / Rule / Name).string();
}

std::vector<std::string> RuleFixture::Expected() const {
  std::istringstream stream(support::ReadFile(Path() + "/expected"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string RuleFixture::Stage(const DemoStation& station) const {
  station.Overlay(Path());
  Prepare(station);
  const std::string directory = DirectoryOf(station);
  for (const char* own : {"expected", "prepare", "directory"})
    fs::remove(station.Sub(own));
  return directory;
}

std::vector<std::string> RuleFixture::Found() const {
  const DemoStation station;
  const Ended ended = RunTool({"check", "--station", Stage(station), "--json"});
  if (ended.Status != 0 && ended.Status != 1) throw std::runtime_error(ended.Err);
  std::vector<std::string> lines;
  const nlohmann::json report = nlohmann::json::parse(ended.Out);
  for (const nlohmann::json& finding : report.at("findings"))
    lines.push_back(LineOf(finding));
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::ostream& operator<<(std::ostream& stream, const RuleFixture& fixture) {
  return stream << fixture.Path();
}

std::vector<RuleFixture> RuleFixtures() {
  std::vector<RuleFixture> fixtures;
  for (const fs::directory_entry& rule : fs::directory_iterator(Fixtures())) {
    for (const fs::directory_entry& fixture : fs::directory_iterator(rule.path()))
      fixtures.push_back({rule.path().filename().string(), fixture.path().filename().string()});
  }
  std::sort(fixtures.begin(), fixtures.end(), [](const RuleFixture& a, const RuleFixture& b) {
    return std::tie(a.Rule, a.Name) < std::tie(b.Rule, b.Name);
  });
  return fixtures;
}

}  // namespace toolstest
