#ifndef KA_TOOLS_FINDING_GROUPS_H
#define KA_TOOLS_FINDING_GROUPS_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "check/rules.h"
#include "doctor/diagnosis.h"
#include "doctor/examination.h"

namespace tools {

/// A kind of finding and what `--repair` does about it.
struct Complaint {
  Rule What;
  Bilingual Repair;
};

/// Findings of one topic and the function that looks for them.
struct FindingGroup {
  Bilingual Title;
  std::span<const Complaint> Complaints;  ///< lives as long as the program
  void (*Check)(const Examination& examination, Diagnosis& diagnosis);
};

/// All groups in the order of the page of findings.
std::vector<FindingGroup> FindingGroups();

/// All kinds of findings in that order.
std::vector<const Complaint*> Complaints();
/// Null if there is none of that id.
const Complaint* FindComplaint(std::string_view id);

/// The list of findings: for people, as JSON or as a page in Markdown.
std::string FindingList(Language language);
std::string FindingListAsJson(Language language);
std::string FindingPage(Language language);
/// One finding with its explanation.
std::string ExplainFinding(const Complaint& complaint, Language language, bool colored);

// The groups, one per file of this directory.
FindingGroup MarkerFindings();
FindingGroup StoreFindings();
FindingGroup PreparedFindings();
FindingGroup DirectoryFindings();
FindingGroup EngineFindings();
FindingGroup AudioFindings();
FindingGroup PortFindings();
FindingGroup ChangeFindings();

}  // namespace tools

#endif
