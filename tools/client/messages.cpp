#include "client/messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "common/station.h"
#include "kaRBLDataContent.h"
#include "kaTCPIPGet.h"
#include "kaTTSServer.h"
#include "preview/block_fault.h"
#include "preview/visible.h"

namespace tools {

namespace {

constexpr RefusalReason kEmpty = {"empty", {"nichts zu senden", "nothing to send"}};
constexpr RefusalReason kTooLong = {"too-long",
                                    {"länger als {0} Bytes, der Server schneidet den Rest ab",
                                     "longer than {0} bytes, the server cuts off the rest"}};
constexpr RefusalReason kNulByte = {"nul-byte",
                                    {"ein NUL-Byte, dort endet die Nachricht für den Server",
                                     "a NUL byte, where the message ends for the server"}};
constexpr RefusalReason kEndMark = {"end-mark",
                                    {"\"///\", dort endet die Nachricht für den Server",
                                     "\"///\", where the message ends for the server"}};
constexpr RefusalReason kUrgentMark = {
    "urgent-mark",
    {"beginnt mit \"!u\", dem Zeichen für dringende Texte; \"ka-tts urgent\" setzt es selbst",
     "begins with \"!u\", the mark of urgent texts; \"ka-tts urgent\" sets it by itself"}};
constexpr RefusalReason kShell = {
    "shell-character",
    {"enthält {0}, das die Shell des Servers deutet; mit --raw geht es trotzdem",
     "holds {0}, which the server's shell interprets; --raw sends it all the same"}};
constexpr RefusalReason kNoUtf8 = {
    "not-utf8",
    {"ist kein UTF-8; mit --raw geht es trotzdem", "is no UTF-8; --raw sends it all the same"}};
constexpr RefusalReason kNoXml = {
    "not-xml",
    {"ist kein XML, das der Server annimmt ({0}); mit --raw geht es trotzdem",
     "is no XML that the server takes ({0}); --raw sends it all the same"}};
constexpr RefusalReason kBlockEnd = {
    "block-end",
    {"der Server schneidet ab, was hinter Byte {0} steht; mit --raw geht es trotzdem",
     "the server cuts off what stands behind byte {0}; --raw sends it all the same"}};
constexpr RefusalReason kEmptyName = {"empty-name", {"ein leerer Name", "an empty name"}};
constexpr RefusalReason kNameOfCommand = {"name-command",
                                          {"der Name \"{0}\" beginnt mit \"!\" wie ein Befehl",
                                           "the name \"{0}\" begins with \"!\" as commands do"}};
constexpr RefusalReason kNameCharacter = {
    "name-character",
    {"der Name \"{0}\" enthält {1}, das Namen trennt oder verändert oder der Shell gehört",
     "the name \"{0}\" holds {1}, which separates or changes names or is the shell's"}};

constexpr std::string_view kEndOfMessage = "///";
constexpr std::string_view kUrgent = "!u";
/// What a shell interprets within double quotes.
constexpr std::string_view kOfQuotedText = "\"$`\\";
/// What a play list or, without quotes, a shell takes for something else than a part of a name.
constexpr std::string_view kOfNames = " ,\t\r\n|&;<>()$`\\\"'*?[]{}";
constexpr std::string_view kWhiteSpace = " \t\r\n";

/// What every port needs.
void RequireWhole(std::string_view message) {
  if (message.empty()) throw Refused(kEmpty);
  if (message.size() > kLongestMessage) throw Refused(kTooLong, std::to_string(kLongestMessage));
  if (message.find('\0') != std::string_view::npos) throw Refused(kNulByte);
  if (message.find(kEndOfMessage) != std::string_view::npos) throw Refused(kEndMark);
}

/// A character between single quotes, white space by its escape sequence.
std::string Shown(char c) {
  constexpr std::pair<char, std::string_view> kNames[] = {
      {'\t', "\\t"}, {'\n', "\\n"}, {'\r', "\\r"}};
  for (const auto& [character, name] : kNames) {
    if (c == character) return fmt::format("'{}'", name);
  }
  return fmt::format("'{}'", c);
}

void RequireSpeakable(const std::string& text, bool raw) {
  if (text.starts_with(kUrgent)) throw Refused(kUrgentMark);
  if (raw) return;
  const std::size_t at = text.find_first_of(kOfQuotedText);
  if (at != std::string::npos) throw Refused(kShell, Shown(text[at]));
  if (!IsUtf8(text)) throw Refused(kNoUtf8);
}

bool IsXml(const std::string& block) {
  CkaRBLDataContent content;
  bool isXml = false;
  Silently([&] { isXml = content.Initialize(block, false, true); });
  return isXml;
}

std::string Described(const BlockFault& fault) {
  if (fault.bExpandsTooFar) return "entities";
  return fmt::format("{}:{}: {}", fault.At.Line, fault.At.Column, fault.Reason);
}

/// What of a block the server reads must be all of it but white space.
void RequireUsed(const std::string& block) {
  const std::string used = UsedPartOfBlock(block);
  if (block.find_first_not_of(kWhiteSpace, used.size()) != std::string::npos)
    throw Refused(kBlockEnd, std::to_string(used.size()));
  if (!IsXml(used)) throw Refused(kNoXml, Described(FaultOf(used)));
}

void RequireName(const std::string& name) {
  if (name.empty()) throw Refused(kEmptyName);
  if (name.front() == '!') throw Refused(kNameOfCommand, name);
  const std::size_t at = name.find_first_of(kOfNames);
  if (at != std::string::npos) throw Refused(kNameCharacter, name, Shown(name[at]));
}

}  // namespace

Refused::Refused(const RefusalReason& reason, std::string detail, std::string further)
    : std::runtime_error(std::string(reason.Id)),
      reason_(reason),
      detail_(std::move(detail)),
      further_(std::move(further)) {}

std::string Refused::Message(Language language) const {
  return Say(reason_.Text, language, detail_, further_);
}

std::string PlainText(const std::string& text, bool raw) {
  RequireWhole(text);
  RequireSpeakable(text, raw);
  return text;
}

std::string UrgentText(const std::string& text, bool raw) {
  std::string message = std::string(kUrgent) + text;
  RequireWhole(message);
  RequireSpeakable(text, raw);
  return message;
}

std::string DataBlock(const std::string& bytes, bool raw) {
  RequireWhole(bytes);
  if (!raw) RequireUsed(bytes);
  return bytes;
}

std::string PlayList(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    RequireName(name);
    list += (list.empty() ? "" : ",") + name;
  }
  RequireWhole(list);
  return list;
}

std::string WithoutLineEnd(std::string text) {
  for (const std::string_view end : {"\r\n", "\n"}) {
    if (text.ends_with(end)) return text.erase(text.size() - end.size());
  }
  return text;
}

std::vector<std::string> NamesOf(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t comma = std::min(list.find(',', begin), list.size());
    names.push_back(list.substr(begin, comma - begin));
    begin = comma + 1;
  }
  return names;
}

}  // namespace tools
