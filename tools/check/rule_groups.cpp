#include "check/rule_groups.h"

namespace tools {

std::vector<RuleGroup> RuleGroups() {
  return {
      DocumentRules(),      StructureRules(), ReferenceRules(), LanguageRules(),
      AnnouncementRules(),  PhraseRules(),    FormatRules(),    CaseRules(),
      PartRules(),          ByteRules(),      UnusedRules(),    UnusedFileRules(),
      ConfigurationRules(), NumberRules(),    EngineRules(),    ShellRules(),
      DirectoryRules(),     SoundRules(),     LexiconRules(),   BlockRules(),
      CatalogueRules(),
  };
}

}  // namespace tools
