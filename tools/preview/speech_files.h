#ifndef KA_TOOLS_SPEECH_FILES_H
#define KA_TOOLS_SPEECH_FILES_H

#include <filesystem>
#include <string>
#include <vector>

#include "kaSpeechbuilder.h"

namespace tools {

/// Has the configured engine make speech files, and plays them. The only part of the tools that
/// starts programs; what they print goes to standard error.
class SpeechFiles {
 public:
  /// \param builder outlives the object \param directory is made if it does not exist
  /// \throws CannotRun if it cannot be made, or has a name that the engine's command line does not
  /// take: blanks and characters that mean something to the shell.
  SpeechFiles(const CkaSpeechbuilder& builder, const std::filesystem::path& directory);

  /// Writes the file `name` with the text and has the engine make `name`.wav of it, as the server
  /// does in its store. \throws CannotRun if there is no speech file afterwards, or as above.
  void Make(const std::string& name, const std::string& text);

  /// Plays all that were made, in their order.
  void Play() const;

 private:
  const CkaSpeechbuilder& builder_;
  std::filesystem::path directory_;
  std::vector<std::string> made_;
};

/// `name` with "_" for each character that file names in command lines must not have.
std::string PlainName(std::string name);

}  // namespace tools

#endif
