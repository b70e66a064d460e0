#include "check/case_graph.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <tuple>

#include "check/document_index.h"

namespace tools {

namespace {

std::vector<std::string> RefsOf(const Element& caseElement) {
  std::vector<std::string> refs;
  for (const Element* child : caseElement.ChildrenCalled("Case"))
    refs.push_back(child->Value("ref"));
  return refs;
}

/// Whether a test of a value became this record.
bool IsSource(const Element& test, const CkaCases::kaCaseStruct& record) {
  constexpr std::array kWords = {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  const bool isPart = record.Type == CkaCases::_CS_SUBSTR;
  if (TestOf(test) != (isPart ? "substr" : "strlen")) return false;
  if (test.Value("operator") != kWords.at(static_cast<std::size_t>(record.Operator))) return false;
  if (TestedAttribute(test) != record.FirstValRef) return false;
  if (test.Value("value") != record.SecondVal) return false;
  return !isPart || (test.Number("begin") == record.Begin && test.Number("end") == record.End);
}

/// Follows the references of dropped cases. A way that comes back to a case on it is a circle.
class CircleSearch {
 public:
  using CasesById = std::unordered_map<std::string, const Element*>;

  explicit CircleSearch(const CasesById& dropped) : dropped_(dropped) {}

  std::vector<std::vector<const Element*>> Find(const std::vector<const Element*>& order) {
    for (const Element* start : order)
      Follow(start);
    return std::move(circles_);
  }

 private:
  /// A case on the way and how many of its references were followed.
  struct Step {
    const Element* Case;
    std::vector<std::string> Refs;
    std::size_t Next = 0;
  };

  /// Without recursion: a chain of references may be as long as the document.
  void Follow(const Element* start) {
    if (!seen_.insert(start).second) return;
    Enter(start);
    while (!way_.empty()) {
      Step& step = way_.back();
      if (step.Next == step.Refs.size()) {
        onWay_.erase(step.Case);
        way_.pop_back();
        continue;
      }
      const auto next = dropped_.find(step.Refs[step.Next++]);
      if (next == dropped_.end()) continue;
      if (seen_.insert(next->second).second) {
        Enter(next->second);
      } else {
        AddCircleFrom(next->second);
      }
    }
  }

  void Enter(const Element* caseElement) {
    onWay_.insert(caseElement);
    way_.push_back({caseElement, RefsOf(*caseElement)});
  }

  void AddCircleFrom(const Element* first) {
    if (inCircle_.contains(first) || inCircle_.contains(way_.back().Case)) return;
    if (!onWay_.contains(first)) return;
    const auto from = std::find_if(way_.begin(), way_.end(),
                                   [first](const Step& step) { return step.Case == first; });
    std::vector<const Element*> circle;
    std::transform(from, way_.end(), std::back_inserter(circle),
                   [](const Step& step) { return step.Case; });
    const auto isKnown = [this](const Element* one) { return inCircle_.contains(one); };
    if (std::any_of(circle.begin(), circle.end(), isKnown)) return;
    inCircle_.insert(circle.begin(), circle.end());
    std::rotate(circle.begin(),
                std::min_element(circle.begin(), circle.end(),
                                 [](const Element* a, const Element* b) {
                                   return std::tie(a->At.Line, a->At.Column) <
                                          std::tie(b->At.Line, b->At.Column);
                                 }),
                circle.end());
    circles_.push_back(std::move(circle));
  }

  const CasesById& dropped_;
  std::vector<Step> way_;
  std::set<const Element*> onWay_;
  std::set<const Element*> seen_;
  std::set<const Element*> inCircle_;
  std::vector<std::vector<const Element*>> circles_;
};

}  // namespace

CaseGraph::CaseGraph(const Document& document, const CkaCases& accepted) : cases_(Cases(document)) {
  for (const Element* caseElement : cases_) {
    ids_.insert(caseElement->Value("id"));
    byId_[caseElement->Value("id")].push_back(caseElement);
  }
  // Of several accepted ones the last counts.
  std::unordered_map<std::string, const CkaCases::kaCaseStruct*> records;
  for (const CkaCases::kaCaseStruct& record : accepted.SortedCases)
    records[record.Id] = &record;
  for (const auto& [id, record] : records)
    winners_[id] = FindAccepted(*record);
}

const Element* CaseGraph::WinnerOf(const std::string& id) const {
  const auto winner = winners_.find(id);
  return winner == winners_.end() ? nullptr : winner->second;
}

/// The element that became a record. Two that say the same are as good as one.
const Element* CaseGraph::FindAccepted(const CkaCases::kaCaseStruct& record) const {
  const std::vector<const Element*>& candidates = byId_.at(record.Id);
  if (record.Type == CkaCases::_CS_OPERATION) {
    const auto source = std::find_if(
        candidates.begin(), candidates.end(),
        [&record](const Element* candidate) { return RefsOf(*candidate) == record.CaseRefs; });
    return source == candidates.end() ? candidates.front() : *source;
  }
  const auto source =
      std::find_if(candidates.rbegin(), candidates.rend(),
                   [&record](const Element* candidate) { return IsSource(*candidate, record); });
  return source == candidates.rend() ? candidates.back() : *source;
}

std::vector<std::vector<const Element*>> CaseGraph::Circles() const {
  std::unordered_map<std::string, const Element*> dropped;
  std::vector<const Element*> order;
  for (const Element* caseElement : cases_) {
    const std::string id = caseElement->Value("id");
    if (winners_.contains(id) || !dropped.emplace(id, caseElement).second) continue;
    order.push_back(caseElement);
  }
  return CircleSearch(dropped).Find(order);
}

}  // namespace tools
