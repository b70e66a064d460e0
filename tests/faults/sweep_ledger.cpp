#include "sweep_ledger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

namespace faults {

namespace {

std::string OutcomeOf(const Ledger::Entry& entry) {
  return (entry.AsExpected ? "" : "NOT AS EXPECTED: ") + entry.Outcome;
}

/// 1, 3, 4, 5, 9 as "1 3-5 9".
std::string Ranges(const std::set<int>& numbers) {
  std::string text;
  for (auto number = numbers.begin(); number != numbers.end();) {
    const int first = *number;
    int last = first;
    while (++number != numbers.end() && *number == last + 1)
      ++last;
    text += (text.empty() ? "" : " ") + std::to_string(first);
    if (last > first) text += "-" + std::to_string(last);
  }
  return text;
}

/// Entries with the same outcome, phase and call, whether lasting or not.
struct Line {
  Phase At;
  std::string Call;
  bool Lasting;
  std::string Outcome;

  auto operator<=>(const Line&) const = default;
};

struct Content {
  std::set<int> Numbers;
  std::set<std::string> Errors;
};

class ThisProgram : public testing::Environment {
 public:
  void TearDown() override { std::cout << ledger.Table() << std::flush; }

  Ledger ledger;
};

// GoogleTest owns it.
auto* const gProgram =
    static_cast<ThisProgram*>(testing::AddGlobalTestEnvironment(new ThisProgram));

}  // namespace

std::string Ledger::Table() const {
  if (entries_.empty()) return "";
  return Outcomes() + Totals();
}

std::string Ledger::Outcomes() const {
  std::map<Line, Content> lines;
  for (const Entry& entry : entries_) {
    const Injection& injection = entry.Injection;
    Content& content = lines[{entry.Phase, injection.Call, injection.Lasting, OutcomeOf(entry)}];
    content.Numbers.insert(injection.Nth);
    content.Errors.insert(injection.Error.Name);
  }
  std::ostringstream table;
  table << std::left;
  for (const auto& [line, content] : lines) {
    table << std::setw(10) << NameOf(line.At) << std::setw(14) << line.Call << std::setw(18)
          << Ranges(content.Numbers) + (line.Lasting ? " and later" : "") << line.Outcome << ':';
    for (const std::string& error : content.Errors)
      table << ' ' << error;
    table << '\n';
  }
  return table.str();
}

std::string Ledger::Totals() const {
  std::map<std::string, int> totals;
  for (const Entry& entry : entries_)
    ++totals[OutcomeOf(entry)];
  const auto deviations = std::count_if(entries_.begin(), entries_.end(),
                                        [](const Entry& entry) { return !entry.AsExpected; });
  std::ostringstream text;
  for (const auto& [outcome, count] : totals)
    text << std::setw(8) << count << "  " << outcome << '\n';
  text << entries_.size() << " injections, " << deviations << " not as expected\n";
  return text.str();
}

Ledger& TheLedger() {
  return gProgram->ledger;
}

}  // namespace faults
