#include "man/completion.h"

#include <algorithm>
#include <iterator>

#include "check/rules.h"
#include "common/command.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

template <class Value>
std::vector<std::string> KeysOf(const std::map<std::string, Value>& map) {
  std::vector<std::string> keys;
  std::transform(map.begin(), map.end(), std::back_inserter(keys),
                 [](const auto& entry) { return entry.first; });
  return keys;
}

std::vector<std::string> RuleIds() {
  std::vector<std::string> ids;
  for (const Rule& rule : Rules())
    ids.emplace_back(rule.Id);
  return ids;
}

std::vector<std::string> FindingIds() {
  std::vector<std::string> ids;
  for (const Complaint* complaint : Complaints())
    ids.emplace_back(complaint->What.Id);
  return ids;
}

Completion OneOf(std::vector<std::string> words) {
  return {Completion::Kind::Words, std::move(words)};
}

}  // namespace

Completion CompletionOf(const ListedOption& option, const std::string& argument) {
  if (!option.IsOperand() && option.Key() == "--lang") return OneOf(KeysOf(LanguageNames()));
  if (!option.IsOperand() && option.Key() == "--color") return OneOf(KeysOf(ColorModeNames()));
  if (argument == "RULE") return OneOf(RuleIds());
  if (argument == "FINDING") return OneOf(FindingIds());
  if (argument == "FILE" || argument == "BLOCK") return {Completion::Kind::Files, {}};
  if (argument == "DIR") return {Completion::Kind::Directories, {}};
  return {};
}

std::string Joined(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words)
    joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

std::string InShellQuotes(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

}  // namespace tools
