#include "exposition_text.h"

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>

namespace toolstest {

namespace {

constexpr const char* kName = "[a-zA-Z_:][a-zA-Z0-9_:]*";
constexpr const char* kLabel = "[a-zA-Z_][a-zA-Z0-9_]*=\"(?:[^\"\\\\\\n]|\\\\[\\\\\"n])*\"";

const std::regex& SampleShape() {
  // Name, labels, one blank, value. No time stamp: a textfile directory refuses it.
  static const auto* const shape = new std::regex(
      "(" + std::string(kName) + ")(\\{" + kLabel + "(?:," + kLabel +
      ")*\\})? (NaN|[+-]Inf|[+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+)(?:[eE][+-]?[0-9]+)?)");
  return *shape;
}

bool IsOneOf(const std::string& word, const std::vector<std::string>& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// The names of labels, in their order.
std::vector<std::string> LabelNames(const std::string& labels) {
  static const auto* const shape =
      new std::regex(std::string("([a-zA-Z_][a-zA-Z0-9_]*)=\"") + "(?:[^\"\\\\]|\\\\.)*\"");
  std::vector<std::string> names;
  for (std::sregex_iterator label(labels.begin(), labels.end(), *shape), end; label != end; ++label)
    names.push_back((*label)[1]);
  return names;
}

}  // namespace

ExpositionText::ExpositionText(const std::string& text) {
  if (text.empty() || text.back() != '\n') faults_.emplace_back("does not end in a line end");
  if (text.find('\r') != std::string::npos) faults_.emplace_back("has a carriage return");
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    ReadLine(line);
  for (const std::string& family : families_)
    CheckFamily(family);
  for (const auto& [name, type] : types_)
    if (!IsOneOf(name, families_)) faults_.push_back("no samples: " + name);
}

void ExpositionText::ReadLine(const std::string& line) {
  if (line.starts_with("# HELP ")) return ReadHelp(line.substr(7));
  if (line.starts_with("# TYPE ")) return ReadType(line.substr(7));
  if (line.empty() || line.starts_with("#")) return Fault("neither comment nor sample", line);
  ReadSample(line);
}

void ExpositionText::ReadHelp(const std::string& line) {
  const std::size_t blank = line.find(' ');
  const std::string name = line.substr(0, blank);
  if (blank == std::string::npos || blank + 1 == line.size()) Fault("no help", line);
  static const auto* const escapes = new std::regex("(?:[^\\\\]|\\\\[\\\\n])*");
  if (!std::regex_match(line, *escapes)) Fault("unknown escape", line);
  if (IsOneOf(name, families_)) Fault("help behind samples", line);
  if (!help_.emplace(name, line).second) Fault("second help", line);
}

void ExpositionText::ReadType(const std::string& line) {
  const std::size_t blank = line.find(' ');
  const std::string name = line.substr(0, blank);
  const std::string type = blank == std::string::npos ? "" : line.substr(blank + 1);
  if (!IsOneOf(type, {"counter", "gauge", "histogram", "summary", "untyped"}))
    Fault("unknown type", line);
  if (IsOneOf(name, families_)) Fault("type behind samples", line);
  if (!types_.emplace(name, type).second) Fault("second type", line);
}

void ExpositionText::ReadSample(const std::string& line) {
  std::smatch parts;
  if (!std::regex_match(line, parts, SampleShape())) return Fault("no sample", line);
  const std::string name = parts[1];
  std::vector<std::string> labels = LabelNames(parts[2]);
  std::sort(labels.begin(), labels.end());
  if (std::adjacent_find(labels.begin(), labels.end()) != labels.end()) Fault("label twice", line);
  for (const std::string& label : labels) {
    if (label.starts_with("__")) Fault("reserved label", line);
    if (IsOneOf(label, {"le", "quantile"})) Fault("label of a histogram", line);
  }
  if (families_.empty() || families_.back() != name) {
    if (IsOneOf(name, families_)) Fault("samples of a family not together", line);
    families_.push_back(name);
  }
  const std::string series = name + parts[2].str();
  if (!series_.emplace(series, std::strtod(parts[3].str().c_str(), nullptr)).second)
    Fault("series twice", line);
}

/// What promtool's linter asks of names and texts.
void ExpositionText::CheckFamily(const std::string& name) {
  if (!help_.contains(name)) Fault("no help", name);
  if (!types_.contains(name)) Fault("no type", name);
  const bool isCounter = types_[name] == "counter";
  if (name.ends_with("_total") != isCounter)
    Fault("_total is for counters and only for them", name);
  for (const char* ending : {"_count", "_sum", "_bucket"})
    if (name.ends_with(ending)) Fault("ending of a histogram", name);
  if (std::regex_search(name, std::regex("[A-Z]"))) Fault("capital letter", name);
  if (name.find(':') != std::string::npos) Fault("colon", name);
  std::istringstream words(name);
  for (std::string word; std::getline(words, word, '_');) {
    if (IsOneOf(word, {"gauge", "counter", "histogram", "summary"})) Fault("type in name", name);
    if (IsOneOf(word, {"ms", "milliseconds", "minutes", "hours", "days", "kb", "mb", "kilobytes",
                       "megabytes", "bits", "percent", "celcius", "s", "sec", "secs", "b"}))
      Fault("no base unit", name);
  }
}

void ExpositionText::Fault(const std::string& what, const std::string& line) {
  faults_.push_back(what + ": " + line);
}

}  // namespace toolstest
