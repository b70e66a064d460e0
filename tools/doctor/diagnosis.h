#ifndef KA_TOOLS_DIAGNOSIS_H
#define KA_TOOLS_DIAGNOSIS_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "check/rules.h"
#include "common/finding.h"
#include "common/language.h"
#include "doctor/metrics.h"

namespace tools {

/// What mends a finding.
struct Remedy {
  Bilingual Done;               ///< what was done, e.g. "removed"
  std::function<bool()> Apply;  ///< null if there is none; false if it did not help
};

/// What became of a finding.
enum class Outcome {
  Open,      ///< nothing can be done by this program
  Mendable,  ///< it could be mended, which was not asked for
  Mended,
  Failed  ///< mending it was tried in vain
};

/// "none", "possible", "done" or "failed": the same in every language.
std::string_view NameOf(Outcome outcome);

struct Ailment {
  Finding What;
  Remedy Cure;
  Outcome State = Outcome::Open;
};

/// What was found, and the figures that go with it.
class Diagnosis {
 public:
  explicit Diagnosis(Language language) : language_(language) {}

  /// Adds a finding of `rule`; `args` fill in its texts.
  template <class... Args>
  void Add(const Rule& rule, const std::filesystem::path& file, Remedy cure, const Args&... args) {
    AddFinding({rule.Level,
                std::string(rule.Id),
                {file, 0, 0},
                Say(rule.Problem, language_, args...),
                Say(rule.Effect, language_, args...),
                Say(rule.Advice, language_, args...)},
               std::move(cure));
  }

  /// Mends what can be mended.
  void Mend();

  Language Lang() const { return language_; }
  const std::vector<Ailment>& Ailments() const { return ailments_; }
  /// Findings of that severity that were not mended.
  std::size_t Count(Severity severity) const;
  std::size_t CountMended() const;
  /// 1 if an error or a warning is left, else 0.
  int Status() const;

  Metrics& Figures() { return figures_; }
  const Metrics& Figures() const { return figures_; }

 private:
  void AddFinding(Finding finding, Remedy cure);

  Language language_;
  std::vector<Ailment> ailments_;
  Metrics figures_;
};

}  // namespace tools

#endif
