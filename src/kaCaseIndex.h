#ifndef KA_CASE_INDEX_H
#define KA_CASE_INDEX_H

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

class CkaCases;

/// Where the cases of a list stand by name. Made once for a list, it spares every row of every
/// block the search.
class kaCaseIndex {
 public:
  /// Of no cases.
  kaCaseIndex() = default;
  /// \param cases outlives the index and stays as it is.
  explicit kaCaseIndex(const CkaCases& cases);

  /// Position of the last case called `name`.
  std::optional<std::size_t> Find(std::string_view name) const;

  /// For each reference of the case at `position` the last case of that name before it. Empty if it
  /// refers to none, or if a name is not among those before it.
  std::span<const std::size_t> ReferencesOf(std::size_t position) const;

 private:
  void AppendReferencesOf(const CkaCases& cases, int i);

  std::unordered_map<std::string_view, std::size_t> lastByName_;
  std::vector<std::size_t> references_;  ///< those of all cases, one after the other
  std::vector<std::size_t> ends_;        ///< by case, the end of its own in `references_`
};

#endif
