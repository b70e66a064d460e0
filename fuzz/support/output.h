#ifndef KA_FUZZ_OUTPUT_H
#define KA_FUZZ_OUTPUT_H

#include <string>
#include <vector>

#include "kaOutput.h"

namespace fuzz {

/// Keeps what the server prints while it lives, so that nothing is written and all of it can be
/// compared.
class Output {
 public:
  /// What went to standard output since the last Clear.
  std::string Out() const { return Of(kaStream::Out); }
  /// What went to standard error since the last Clear.
  std::string Err() const { return Of(kaStream::Err); }
  void Clear() { reports_.clear(); }

 private:
  std::string Of(kaStream stream) const;

  std::vector<kaReport> reports_;
  kaOutputCapture capture_{reports_};
};

}  // namespace fuzz

#endif
