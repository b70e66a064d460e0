#ifndef KA_ENGINE_COMMAND_LINE_H
#define KA_ENGINE_COMMAND_LINE_H

// The program's command line.

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace engine {

/// The command line makes no sense; what() says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CommandLine {
  enum class Action { Speak, Save, ShowHelp, ShowVersion };

  Action action = Action::Speak;
  std::string voice = "en";            ///< for texts that name none
  std::optional<double> level = -23;   ///< loudness of speech in LUFS; none: espeak-ng's own
  bool discardOnFailure = false;       ///< remove what a failed save would leave outdated
  std::chrono::seconds timeLimit{20};  ///< for saving
  std::string text;                    ///< with Action::Speak
  std::string textFile;                ///< with Action::Save
  std::string wavFile;                 ///< with Action::Save

  /// Reads the arguments behind the program's name. Everything behind "--" is an operand: one is a
  /// text to speak, two are a text file and the .wav file to save. Throws UsageError.
  static CommandLine Parse(std::span<const char* const> arguments);

  /// The text that --help prints.
  static std::string Help();
};

}  // namespace engine

#endif
