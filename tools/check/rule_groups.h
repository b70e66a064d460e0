#ifndef KA_TOOLS_RULE_GROUPS_H
#define KA_TOOLS_RULE_GROUPS_H

#include <span>
#include <vector>

#include "check/check_input.h"
#include "check/rules.h"

namespace tools {

/// Rules of one topic and the function that looks for what they say.
struct RuleGroup {
  Bilingual Title;
  std::span<const Rule> Rules;  ///< lives as long as the program
  void (*Check)(const CheckInput& input, Report& report);
};

/// All groups in the order of the page of rules.
std::vector<RuleGroup> RuleGroups();

// The groups, one per file of this directory.
RuleGroup DocumentRules();
RuleGroup StructureRules();
RuleGroup ReferenceRules();
RuleGroup LanguageRules();
RuleGroup AnnouncementRules();
RuleGroup PhraseRules();
RuleGroup FormatRules();
RuleGroup CaseRules();
RuleGroup PartRules();
RuleGroup ByteRules();
RuleGroup UnusedRules();
RuleGroup UnusedFileRules();
RuleGroup ConfigurationRules();
RuleGroup NumberRules();
RuleGroup EngineRules();
RuleGroup ShellRules();
RuleGroup DirectoryRules();
RuleGroup SoundRules();
RuleGroup LexiconRules();
RuleGroup BlockRules();
RuleGroup CatalogueRules();

}  // namespace tools

#endif
