#ifndef KA_FUZZ_COMMAND_MODEL_H
#define KA_FUZZ_COMMAND_MODEL_H

#include <cstdint>
#include <string>
#include <vector>

namespace model {

/// A server before a message.
struct Situation {
  std::int32_t Priority = 0;
  /// After this many commands another port takes the device: Priority becomes TakenBy.
  std::size_t TakenAfter = 0;
  std::int32_t TakenBy = 0;
  std::string SpeakCommand;  ///< all of it but the quoted text
  std::string SpeakEcho;     ///< the printed look-ups
  std::string BellFile;
  std::string PlayDirectory;
};

/// What a message makes of it.
struct Outcome {
  std::vector<std::string> Commands;
  std::int32_t Priority = 0;
  std::string Out;
  bool PlayMarkerStays = false;
  bool Operates = true;
  bool Restarts = false;
};

/// A message to the text port.
Outcome AfterText(const Situation& before, const std::string& text);
/// A message to the command port.
Outcome AfterCommand(const Situation& before, const std::string& text);

}  // namespace model

#endif
