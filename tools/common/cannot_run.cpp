#include "common/cannot_run.h"

#include <utility>

namespace tools {

CannotRun::CannotRun(const Bilingual& problem, std::filesystem::path file)
    : std::runtime_error(file.string() + ": " + std::string(problem.English)),
      problem_(problem),
      file_(std::move(file)) {}

std::string CannotRun::Message(Language language) const {
  return file_.string() + ": " + std::string(problem_(language));
}

}  // namespace tools
