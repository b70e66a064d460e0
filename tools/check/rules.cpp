#include "check/rules.h"

#include <nlohmann/json.hpp>

#include "check/rule_groups.h"
#include "common/terminal.h"

namespace tools {

namespace {

constexpr Bilingual kPageTitle = {"Regeln von `ka-tts check`", "Rules of `ka-tts check`"};
constexpr Bilingual kPageIntroduction = {
    "Diese Seite gibt `ka-tts check --rules --markdown` aus. `ka-tts check --explain REGEL` zeigt "
    "eine Regel allein.",
    "This page is printed by `ka-tts check --rules --markdown`. `ka-tts check --explain RULE` "
    "shows "
    "a single rule."};

/// "<" begins a tag in Markdown.
std::string MarkdownOf(std::string_view text) {
  std::string escaped;
  for (const char c : text)
    escaped += c == '<' ? "&lt;" : std::string(1, c);
  return escaped;
}

}  // namespace

std::vector<Rule> Rules() {
  std::vector<Rule> rules;
  for (const RuleGroup& group : RuleGroups())
    rules.insert(rules.end(), group.Rules.begin(), group.Rules.end());
  return rules;
}

std::string RuleList(Language language) {
  std::string list;
  for (const Rule& rule : Rules())
    list += fmt::format("{:<28} {:<8} {}\n", rule.Id, NameOf(rule.Level), rule.Title(language));
  return list;
}

std::string RuleListAsJson(Language language) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Rule& rule : Rules()) {
    list.push_back({{"rule", rule.Id},
                    {"severity", NameOf(rule.Level)},
                    {"title", rule.Title(language)},
                    {"explanation", rule.Explanation(language)}});
  }
  return nlohmann::ordered_json{{"rules", std::move(list)}}.dump(2) + "\n";
}

std::string RulePage(Language language) {
  std::string page = fmt::format("# {}\n\n{}\n", kPageTitle(language), kPageIntroduction(language));
  for (const RuleGroup& group : RuleGroups()) {
    page += fmt::format("\n## {}\n", group.Title(language));
    for (const Rule& rule : group.Rules) {
      page += fmt::format("\n### {} ({})\n\n{}.\n\n{}\n", rule.Id, NameOf(rule.Level),
                          MarkdownOf(rule.Title(language)), MarkdownOf(rule.Explanation(language)));
    }
  }
  return page;
}

std::string ExplainRule(const Rule& rule, Language language, bool colored) {
  return fmt::format("{} ({})\n{}\n\n{}\n", Painted(rule.Id, Color::Bold, colored),
                     NameOf(rule.Level), rule.Title(language), rule.Explanation(language));
}

}  // namespace tools
