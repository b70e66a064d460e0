#include "manual.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

/// What the escape at `text[at]` prints; `at` then is its last character.
std::string PrintedEscape(const std::string& text, std::size_t& at) {
  static const std::map<std::string, std::string> kEscapes = {
      {"-", "-"},   {"e", "\\"},  {"&", ""},    {"%", ""},     {" ", " "},   {"fB", ""},
      {"fI", ""},   {"fR", ""},   {"fP", ""},   {"(dq", "\""}, {"(aq", "'"}, {"(ga", "`"},
      {"(ha", "^"}, {"(ti", "~"}, {"(em", "—"}, {"(en", "–"},  {"(bu", "•"}};
  for (const std::size_t length : {1U, 2U, 3U}) {
    const auto escape = kEscapes.find(text.substr(at + 1, length));
    if (escape == kEscapes.end()) continue;
    at += length;
    return escape->second;
  }
  throw std::runtime_error("unknown escape: " + text.substr(at));
}

bool IsHeading(const std::string& line) {
  return line.starts_with(".SH ");
}

}  // namespace

bool ManualExample::HasCommands() const {
  return std::any_of(Lines.begin(), Lines.end(),
                     [](const std::string& line) { return line.starts_with("$ "); });
}

std::vector<std::string> ManualNames(const std::string& language) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(KA_BUILD_DIR "/man/" + language))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

ManualPage ReadManual(const std::string& language, const std::string& name) {
  const std::string file = KA_BUILD_DIR "/man/" + language + "/" + name;
  return {language, name, file, support::ReadFile(file)};
}

std::vector<ManualPage> Manuals() {
  std::vector<ManualPage> pages;
  for (const char* language : {"de", "en"}) {
    for (const std::string& name : ManualNames(language))
      pages.push_back(ReadManual(language, name));
  }
  return pages;
}

std::vector<std::string> SectionOf(const ManualPage& page, const std::string& english,
                                   const std::string& german) {
  const std::vector<std::string> lines = LinesOf(page.Source);
  const std::string heading = page.Language == "de" ? german : english;
  const auto head = std::find(lines.begin(), lines.end(), ".SH " + heading);
  if (head == lines.end()) return {};
  return {head + 1, std::find_if(head + 1, lines.end(), IsHeading)};
}

std::vector<ManualExample> ExamplesOf(const ManualPage& page) {
  std::vector<ManualExample> examples;
  std::string before;
  bool inside = false;
  for (const std::string& line : SectionOf(page, "EXAMPLES", "BEISPIELE")) {
    if (line == ".EX") {
      examples.push_back({{}, before.starts_with(".\\\" not run: ")});
      inside = true;
    } else if (line == ".EE") {
      inside = false;
    } else if (inside) {
      examples.back().Lines.push_back(Printed(line));
    }
    before = line;
  }
  return examples;
}

std::string Printed(const std::string& line) {
  std::string printed;
  for (std::size_t at = 0; at < line.size(); ++at)
    printed += line[at] == '\\' ? PrintedEscape(line, at) : std::string(1, line[at]);
  return printed;
}

std::vector<ManualOption> OptionsOf(const ManualPage& page) {
  std::vector<ManualOption> options;
  const std::vector<std::string> lines = LinesOf(page.Source);
  for (std::size_t at = 0; at + 2 < lines.size(); ++at) {
    if (lines[at] != ".TP" || !lines[at + 1].starts_with("\\fB\\-")) continue;
    options.push_back({Printed(lines[at + 1]), Printed(lines[at + 2])});
  }
  return options;
}

}  // namespace toolstest
