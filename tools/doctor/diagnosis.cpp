#include "doctor/diagnosis.h"

#include <algorithm>

#include "common/cannot_run.h"

namespace tools {

namespace {

bool Apply(const Remedy& cure) {
  try {
    return cure.Apply();
  } catch (const CannotRun&) {
    return false;
  }
}

}  // namespace

std::string_view NameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Mendable:
      return "possible";
    case Outcome::Mended:
      return "done";
    case Outcome::Failed:
      return "failed";
    case Outcome::Open:
      break;
  }
  return "none";
}

void Diagnosis::AddFinding(Finding finding, Remedy cure) {
  const Outcome state = cure.Apply ? Outcome::Mendable : Outcome::Open;
  ailments_.push_back({std::move(finding), std::move(cure), state});
}

void Diagnosis::Mend() {
  for (Ailment& ailment : ailments_) {
    if (ailment.State != Outcome::Mendable) continue;
    ailment.State = Apply(ailment.Cure) ? Outcome::Mended : Outcome::Failed;
  }
}

std::size_t Diagnosis::Count(Severity severity) const {
  return static_cast<std::size_t>(
      std::count_if(ailments_.begin(), ailments_.end(), [severity](const Ailment& ailment) {
        return ailment.What.Level == severity && ailment.State != Outcome::Mended;
      }));
}

std::size_t Diagnosis::CountMended() const {
  return static_cast<std::size_t>(
      std::count_if(ailments_.begin(), ailments_.end(),
                    [](const Ailment& ailment) { return ailment.State == Outcome::Mended; }));
}

int Diagnosis::Status() const {
  return Count(Severity::Error) + Count(Severity::Warning) == 0 ? 0 : 1;
}

}  // namespace tools
