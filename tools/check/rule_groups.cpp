#include "check/rule_groups.h"

namespace tools {

std::vector<RuleGroup> RuleGroups() {
  return {
      DocumentRules(),
  };
}

}  // namespace tools
