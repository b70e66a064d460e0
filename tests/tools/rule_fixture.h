#ifndef KA_TESTS_TOOLS_RULE_FIXTURE_H
#define KA_TESTS_TOOLS_RULE_FIXTURE_H

#include <iosfwd>
#include <string>
#include <vector>

namespace toolstest {

class DemoStation;

/// One directory of tests/tools/fixtures/rules: what differs from the demo station, and what
/// `ka-tts check` then finds.
///
///   expected   a line "FILE[:LINE[:COLUMN]] RULE" per finding; empty for none
///   prepare    optional: run by `sh -eu` in the staged station, after all files are copied
///   directory  optional: the name of a directory that the script makes; it is checked instead
///   the rest   files of the station that are other than in the demo station
struct RuleFixture {
  std::string Rule;
  std::string Name;  ///< "fail..." or "pass..."; a rule may have several of each

  std::string Path() const;
  /// Makes the demo station the one of the fixture. \return the directory to check
  std::string Stage(const DemoStation& station) const;
  /// The lines of `expected`, sorted.
  std::vector<std::string> Expected() const;
  /// What `ka-tts check --json` finds, as lines of `expected`, sorted.
  std::vector<std::string> Found() const;
};

/// How failing tests name a fixture.
std::ostream& operator<<(std::ostream& stream, const RuleFixture& fixture);

/// All fixtures, by rule and name.
std::vector<RuleFixture> RuleFixtures();

}  // namespace toolstest

#endif
