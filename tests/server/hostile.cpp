#include "hostile.h"

#include <algorithm>

namespace servertest {

namespace {

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int count = 0; count < times; ++count)
    all += text;
  return all;
}

}  // namespace

HostileMessage Hostility::ForText() {
  static const auto* const makers = new std::vector<Maker>{
      &Hostility::RandomBytes, &Hostility::InvalidUtf8, &Hostility::FormatString,
      &Hostility::LongText,    &Hostility::Nothing,     &Hostility::ShellText,
      &Hostility::ShellText,   &Hostility::ShellText,   &Hostility::Command};
  HostileMessage message = Make(*makers);
  if (OneIn(5)) message.Text.insert(0, "!u");
  std::erase(message.Text, '/');
  return message;
}

HostileMessage Hostility::ForData() {
  static const auto* const makers = new std::vector<Maker>{
      &Hostility::RandomBytes, &Hostility::InvalidUtf8, &Hostility::FormatString,
      &Hostility::LongText,    &Hostility::Nothing,     &Hostility::ValidBlock,
      &Hostility::BrokenBlock, &Hostility::BrokenBlock, &Hostility::DeepXml,
      &Hostility::WideXml,     &Hostility::EntityXml,   &Hostility::OddDeclaration};
  return Make(*makers);
}

HostileMessage Hostility::ForCommand() {
  static const auto* const makers = new std::vector<Maker>{
      &Hostility::RandomBytes, &Hostility::InvalidUtf8, &Hostility::FormatString,
      &Hostility::LongText,    &Hostility::Nothing,     &Hostility::ShellText,
      &Hostility::Command,     &Hostility::PlayList,    &Hostility::PlayList};
  return Make(*makers);
}

HostileMessage Hostility::PlainText() {
  static const auto* const makers =
      new std::vector<Maker>{&Hostility::Letters, &Hostility::Letters, &Hostility::Nothing};
  HostileMessage message = Make(*makers);
  if (OneIn(3)) message.Text.insert(0, "!u");
  return message;
}

HostileMessage Hostility::Make(const std::vector<Maker>& makers) {
  const Maker maker =
      makers[static_cast<std::size_t>(Number(1, static_cast<int>(makers.size()))) - 1];
  HostileMessage message{(this->*maker)(), OneIn(10)};
  if (OneIn(20)) message.Text.insert(message.Text.size() / 2, 1, '\0');
  return message;
}

int Hostility::Number(int least, int most) {
  // Not std::uniform_int_distribution: its numbers differ between libraries.
  return least + static_cast<int>(engine_() % static_cast<std::uint32_t>(most - least + 1));
}

const std::string& Hostility::OneOf(const std::vector<std::string>& texts) {
  return texts[static_cast<std::size_t>(Number(1, static_cast<int>(texts.size()))) - 1];
}

std::string Hostility::RandomBytes() {
  std::string text(static_cast<std::size_t>(Number(1, 400)), '\0');
  for (char& byte : text)
    byte = static_cast<char>(Number(0, 255));
  return text;
}

std::string Hostility::InvalidUtf8() {
  static const auto* const pieces =
      new std::vector<std::string>{"\xC3",         "\xE2\x82",         "\xF0\x9F", "\xC0\x80",
                                   "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xFF",     "\xFE",
                                   "\x80",         "\xEF\xBB\xBF",     "ü",        "a"};
  std::string text;
  for (int count = Number(1, 60); count > 0; --count)
    text += OneOf(*pieces);
  return OneIn(2) ? text : "<rbl><row zug=\"" + text + "\"/></rbl>";
}

std::string Hostility::FormatString() {
  static const auto* const pieces = new std::vector<std::string>{
      "%s", "%n", "%x", "%p", "%d", "%99999d", "%*d", "%1$n", "%hhn", "%%", "%", "%.9999f", "%ls"};
  std::string text;
  for (int count = Number(1, 40); count > 0; --count)
    text += OneOf(*pieces);
  return text;
}

std::string Hostility::LongText() {
  static const auto* const pieces =
      new std::vector<std::string>{"a", "ab ", ",", " ", "<", ">", "&", "\n", "///", "ä"};
  return Repeated(OneOf(*pieces), Number(2000, 14000));
}

std::string Hostility::Nothing() {
  return "";
}

std::string Hostility::ShellText() {
  static const auto* const pieces = new std::vector<std::string>{
      "\"",    "\"",     "'",      "`",        "$(",          ")",      "${",   "}",      "$((",
      "))",    "$",      "\\",     ";",        "|",           "||",     "&",    "&&",     ">",
      ">>",    "<",      "<<",     "2>&1",     "(",           "{",      "!",    "#",      "*",
      "?",     "[",      "]",      "~",        "=",           "%",      "\n",   "\t",     " ",
      "exit ", "exit 1", "return", "break",    "set -e",      "set -u", ":",    "true",   "false",
      "eval",  "exec",   "echo",   "umask 0",  "ulimit -n 0", "shift",  "trap", "export", "x=1",
      "aplay", "reboot", "halt",   "rm -rf *", "@",           "$$",     "$?",   "$0",     "${x:?}",
      "${#",   "IFS="};
  std::string text;
  for (int count = Number(1, 25); count > 0; --count)
    text += OneOf(*pieces);
  return text;
}

std::string Hostility::Command() {
  static const auto* const commands = new std::vector<std::string>{
      "!bell",     "!stop",    "!reboot-stamp", "!reboot", "!u", "!u!u",      "!",      "!!",
      "!bellstop", "!stop///", "!BELL",         " !bell",  "!b", "!terminat", "!restar"};
  return OneOf(*commands) + (OneIn(2) ? "" : Letters());
}

std::string Hostility::PlayList() {
  static const auto* const pieces = new std::vector<std::string>{
      ",",    ",,",  " ",  "de0", "en0", "../", ".",  "..", "*",          "de0.wav", "%s",
      "$(x)", "`x`", "\"", ";",   "\n",  "///", "\\", "/",  "etc/passwd", "ü"};
  std::string text;
  for (int count = Number(1, 60); count > 0; --count)
    text += OneOf(*pieces);
  return text;
}

std::string Hostility::Letters() {
  std::string text;
  for (int count = Number(0, 80); count > 0; --count) {
    text += static_cast<char>(OneIn(6) ? ' ' : 'a' + Number(0, 25));
  }
  return text;
}

std::string Hostility::ValidBlock() {
  std::string block = "<rbl>";
  for (int rows = Number(1, 6); rows > 0; --rows) {
    block += "<row zug=\"" + Letters() + "\" gleis=\"" + std::to_string(Number(0, 30)) + "\"/>";
  }
  return block + "</rbl>";
}

std::string Hostility::BrokenBlock() {
  std::string block = ValidBlock();
  for (int count = Number(1, 5); count > 0; --count) {
    const auto at = static_cast<std::size_t>(Number(0, static_cast<int>(block.size()) - 1));
    if (OneIn(3)) {
      block.erase(at, static_cast<std::size_t>(Number(1, 4)));
    } else if (OneIn(2)) {
      block.insert(at, 1, static_cast<char>(Number(0, 255)));
    } else {
      block[at] = static_cast<char>(Number(0, 255));
    }
    if (block.empty()) return "<";
  }
  return block;
}

std::string Hostility::DeepXml() {
  const int depth = Number(100, 1700);
  const std::string open = Repeated("<a>", depth);
  return OneIn(3) ? open : open + "<row zug=\"1\"/>" + Repeated("</a>", depth);
}

std::string Hostility::WideXml() {
  if (OneIn(2)) return "<rbl>" + Repeated("<row zug=\"ICE 1\"/>", Number(100, 600)) + "</rbl>";
  std::string block = "<rbl><row zug=\"" + Letters() + "\"";
  for (int count = Number(100, 800); count > 0; --count) {
    block += " a" + std::to_string(count) + "=\"" + std::to_string(count) + "\"";
  }
  return block + "/></rbl>";
}

std::string Hostility::EntityXml() {
  static const auto* const declarations =
      new std::vector<std::string>{"<!ENTITY a \"&a;\">",
                                   "<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">",
                                   "<!ENTITY a SYSTEM \"/etc/hostname\">",
                                   "<!ENTITY a SYSTEM \"http:127.0.0.1\">",
                                   "<!ENTITY % a SYSTEM \"/etc/hostname\"> %a;",
                                   "<!ENTITY % a \"<!ENTITY b 'c'>\"> %a;",
                                   "<!ATTLIST row zug CDATA \"x\">",
                                   "<!ENTITY a \"<row zug='1'/>\">",
                                   "<!ENTITY a \"<b>\">",
                                   "<!ELEMENT rbl ANY>",
                                   "<!NOTATION n SYSTEM \"n\">",
                                   "<!ENTITY a \"&#60;\">",
                                   "<!ENTITY"};
  static const auto* const uses = new std::vector<std::string>{
      "&a;", "&b;", "&#0;", "&#xFFFF;", "&#x110000;", "&#1;", "&amp;", "&nosuch;", "&", "&#;"};
  std::string block = "<!DOCTYPE rbl [";
  for (int count = Number(1, 4); count > 0; --count)
    block += OneOf(*declarations);
  return block + "]><rbl><row zug=\"" + OneOf(*uses) + "x\"/>" + OneOf(*uses) + "</rbl>";
}

std::string Hostility::OddDeclaration() {
  static const auto* const heads =
      new std::vector<std::string>{"<?xml version=\"1.0\" encoding=\"UTF-16\"?>",
                                   "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>",
                                   "<?xml version=\"1.0\" encoding=\"nosuch\"?>",
                                   "<?xml version=\"9.9\"?>",
                                   "<?xml?>",
                                   "\xEF\xBB\xBF",
                                   "\xFF\xFE",
                                   "<?x y?>",
                                   "<!-- -- -->",
                                   "<![CDATA[x]]>",
                                   " \n"};
  static const auto* const bodies = new std::vector<std::string>{
      "<rbl><row zug=\"\xFC\"/></rbl>",
      "<rbl xmlns=\"u\"><row zug=\"1\"/></rbl>",
      "<a:rbl xmlns:a=\"u\"><a:row a:zug=\"1\"/></a:rbl>",
      "<rbl><row a:zug=\"1\"/></rbl>",
      "<rbl><row xml:id=\"1\" zug=\"ICE 1\"/><row xml:id=\"1\" zug=\"2\"/></rbl>",
      "<rbl><row zug=\"1\" zug=\"2\"/></rbl>",
      "<rbl><?pi?><!-- c --><![CDATA[d]]></rbl>",
      "<row zug=\"1\"/>",
      "<rbl><row zug=\"\\e\\e\\\"/></rbl>",
      "<rbl/><rbl/>"};
  return OneOf(*heads) + OneOf(*bodies);
}

}  // namespace servertest
