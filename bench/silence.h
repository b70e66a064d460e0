#ifndef KA_BENCH_SILENCE_H
#define KA_BENCH_SILENCE_H

#include <vector>

#include "kaOutput.h"

namespace bench {

/// While it lives its thread prints nothing.
class Silence {
 public:
  /// Forgets what would have been printed, so that it does not pile up.
  void Forget() { reports_.clear(); }

 private:
  std::vector<kaReport> reports_;
  kaOutputCapture capture_{reports_};
};

}  // namespace bench

#endif
