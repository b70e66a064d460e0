#include "kaCaseIndex.h"

#include "kaCases.h"

kaCaseIndex::kaCaseIndex(const CkaCases& cases) {
  const int count = cases.GetCaseCount();
  lastByName_.reserve(static_cast<std::size_t>(count));
  ends_.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    AppendReferencesOf(cases, i);
    lastByName_[cases.GetCaseAt(i).Id] = static_cast<std::size_t>(i);
  }
}

std::optional<std::size_t> kaCaseIndex::Find(std::string_view name) const {
  const auto found = lastByName_.find(name);
  return found == lastByName_.end() ? std::nullopt : std::optional(found->second);
}

std::span<const std::size_t> kaCaseIndex::ReferencesOf(std::size_t position) const {
  const std::size_t begin = position == 0 ? 0 : ends_[position - 1];
  return std::span(references_).subspan(begin, ends_[position] - begin);
}

void kaCaseIndex::AppendReferencesOf(const CkaCases& cases, int i) {
  const std::size_t begin = references_.size();
  for (const std::string& name : cases.GetCaseAt(i).CaseRefs) {
    const std::optional<std::size_t> found = Find(name);
    if (!found) {
      references_.resize(begin);
      break;
    }
    references_.push_back(*found);
  }
  ends_.push_back(references_.size());
}
