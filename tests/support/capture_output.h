#ifndef KA_TESTS_SUPPORT_CAPTURE_OUTPUT_H
#define KA_TESTS_SUPPORT_CAPTURE_OUTPUT_H

#include <cstdio>
#include <string>

namespace support {

/// What one of the process's standard streams receives while it lives, children included.
class CaptureStream {
 public:
  explicit CaptureStream(std::FILE* stream);
  ~CaptureStream();
  CaptureStream(const CaptureStream&) = delete;
  CaptureStream& operator=(const CaptureStream&) = delete;

  /// Everything received so far.
  std::string Text() const;

 private:
  std::FILE* stream_;
  int saved_;
  int file_;
};

/// Both streams.
class CaptureOutput {
 public:
  std::string Out() const { return out_.Text(); }
  std::string Err() const { return err_.Text(); }

 private:
  CaptureStream out_{stdout};
  CaptureStream err_{stderr};
};

}  // namespace support

#endif
