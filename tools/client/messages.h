#ifndef KA_TOOLS_MESSAGES_H
#define KA_TOOLS_MESSAGES_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "common/language.h"

namespace tools {

/// A reason not to send a message. Programs read the ids; clients/python/ka_tts.py has the same.
struct RefusalReason {
  std::string_view Id;
  Bilingual Text;  ///< {0} and {1} are what exactly is in the way
};

/// A message is not sent: the server would cut it, take it for something else, or hand a part of it
/// to its shell.
class Refused : public std::runtime_error {
 public:
  explicit Refused(const RefusalReason& reason, std::string detail = "", std::string further = "");

  std::string_view Id() const { return reason_.Id; }
  std::string Message(Language language) const;

 private:
  RefusalReason reason_;
  std::string detail_;
  std::string further_;
};

/// \name Messages as they go over the wire
/// \throws Refused for what would not arrive as it is meant
/// @{

/// A text for the text port.
/// \param raw whether the server's shell may interpret the text, and the engine bytes that are no
/// UTF-8
std::string PlainText(const std::string& text, bool raw);
/// The same as an urgent text. An empty one only ends what is played.
std::string UrgentText(const std::string& text, bool raw);
/// A block for the data port.
/// \param raw whether it may be faulty XML, and may go on behind its last tag
std::string DataBlock(const std::string& bytes, bool raw);
/// A play list for the command port.
std::string PlayList(const std::vector<std::string>& names);
/// @}

/// `text` without the one line end that it may end with.
std::string WithoutLineEnd(std::string text);

/// The names of a play list as it is written, e.g. "de0,en0".
std::vector<std::string> NamesOf(const std::string& list);

}  // namespace tools

#endif
