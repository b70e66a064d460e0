#ifndef KA_TOOLS_RULES_H
#define KA_TOOLS_RULES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/finding.h"
#include "common/language.h"
#include "common/report.h"

namespace tools {

/// A kind of mistake that `ka-tts check` finds. Problem, effect and advice are format strings that
/// get the same arguments; title and explanation are plain texts.
struct Rule {
  std::string_view Id;  ///< small letters and hyphens
  Severity Level;
  Bilingual Title;
  Bilingual Problem;      ///< what is wrong
  Bilingual Effect;       ///< what the server does with it
  Bilingual Advice;       ///< what to write instead
  Bilingual Explanation;  ///< why, for whoever asks; paragraphs are joined by an empty line
};

/// All rules of all groups, in the order of the groups.
std::vector<Rule> Rules();

/// The list of rules: for people, as JSON or as a page in Markdown.
std::string RuleList(Language language);
std::string RuleListAsJson(Language language);
std::string RulePage(Language language);
/// One rule with its explanation.
std::string ExplainRule(const Rule& rule, Language language, bool colored);

/// Adds a finding of `rule`; `args` fill in its three texts.
template <class... Args>
void AddFinding(Report& report, const Rule& rule, Place where, const Args&... args) {
  const Language language = report.Lang();
  report.Add({rule.Level, std::string(rule.Id), std::move(where),
              Say(rule.Problem, language, args...), Say(rule.Effect, language, args...),
              Say(rule.Advice, language, args...)});
}

}  // namespace tools

#endif
