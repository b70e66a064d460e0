#ifndef KA_ENGINE_WAV_FILE_H
#define KA_ENGINE_WAV_FILE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "SampleSink.h"
#include "UniqueFd.h"

namespace engine {

/// A .wav file that appears whole or not at all: samples go to a temporary file in the target's
/// directory, which Commit() renames. Every operation that fails throws Failure.
class WavFile final : public SampleSink {
 public:
  /// `target` may exist as a regular file, but neither as a directory nor as a link or device,
  /// which the renaming would replace.
  explicit WavFile(std::filesystem::path target);

  /// Removes the temporary file unless it was committed.
  ~WavFile() override;

  /// An hour of sound is the most: more would only fill the disk.
  void Write(Samples samples) override;

  /// Puts the file in its place. A file without any sound gets a tenth of a second of silence,
  /// because players differ in what they make of an empty one.
  void Commit();

 private:
  void CreateTemporary();
  void WriteBuffer();
  void WriteHeader();
  void WriteAt(std::size_t offset, std::string_view bytes) const;
  [[noreturn]] void ThrowSystemError(const std::string& action) const;

  std::filesystem::path target_;
  std::string temporary_;  // empty once it is committed
  UniqueFd descriptor_;
  std::string buffer_;            // sound that is not in the file yet
  std::size_t bytesWritten_ = 0;  // of sound, without the buffer
};

}  // namespace engine

#endif
