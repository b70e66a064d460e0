#ifndef KA_TESTS_SERVER_HOSTILE_H
#define KA_TESTS_SERVER_HOSTILE_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace servertest {

/// A client's behaviour.
struct HostileMessage {
  std::string Text;
  bool ResetsAtOnce = false;  ///< drops the connection instead of waiting for the answer
};

/// Makes nonsense and malice for a port, the same for the same seed.
class Hostility {
 public:
  explicit Hostility(std::uint32_t seed) : engine_(seed) {}

  /// For the text port. Texts reach a shell: none holds a "/" or a word that stops processes, so
  /// with an empty PATH they can run nothing.
  HostileMessage ForText();
  /// For the data port: XML and what looks like it.
  HostileMessage ForData();
  /// For the command port: everything but "!terminate" and "!restart".
  HostileMessage ForCommand();
  /// For a text port whose shell finds programs: harmless to it.
  HostileMessage PlainText();

 private:
  using Maker = std::string (Hostility::*)();

  HostileMessage Make(const std::vector<Maker>& makers);
  int Number(int least, int most);
  bool OneIn(int times) { return Number(1, times) == 1; }
  const std::string& OneOf(const std::vector<std::string>& texts);

  std::string RandomBytes();
  std::string InvalidUtf8();
  std::string FormatString();
  std::string LongText();
  std::string Nothing();
  std::string ShellText();
  std::string Command();
  std::string PlayList();
  std::string Letters();
  std::string ValidBlock();
  std::string BrokenBlock();
  std::string DeepXml();
  std::string WideXml();
  std::string EntityXml();
  std::string OddDeclaration();

  std::mt19937 engine_;
};

}  // namespace servertest

#endif
