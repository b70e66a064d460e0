#ifndef KA_TOOLS_CASE_GRAPH_H
#define KA_TOOLS_CASE_GRAPH_H

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/document.h"
#include "kaCases.h"

namespace tools {

/// The cases of a document, what they refer to, and which the server accepted.
class CaseGraph {
 public:
  /// \param accepted what the server made of the document
  CaseGraph(const Document& document, const CkaCases& accepted);

  /// All ids, of accepted and dropped cases.
  const std::set<std::string>& Ids() const { return ids_; }
  /// The case that counts of those with an id; null if none was accepted.
  const Element* WinnerOf(const std::string& id) const;
  /// Circles of dropped cases that refer to each other, each in the order of its references; every
  /// case is in one of them at most. A circle begins with its first case in the document.
  std::vector<std::vector<const Element*>> Circles() const;

 private:
  const Element* FindAccepted(const CkaCases::kaCaseStruct& record) const;

  std::set<std::string> ids_;
  std::vector<const Element*> cases_;
  std::unordered_map<std::string, std::vector<const Element*>> byId_;
  std::unordered_map<std::string, const Element*> winners_;
};

}  // namespace tools

#endif
