#include "check/rule_groups.h"

namespace tools {

std::vector<RuleGroup> RuleGroups() {
  return {
      DocumentRules(),  ConfigurationRules(), NumberRules(),  EngineRules(), ShellRules(),
      DirectoryRules(), SoundRules(),         LexiconRules(), BlockRules(),  CatalogueRules(),
  };
}

}  // namespace tools
