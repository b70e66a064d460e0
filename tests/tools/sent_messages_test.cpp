#include "check/sent_messages.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "demo_station.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::Key;
using ::testing::UnorderedElementsAreArray;

/// Catalogue, class, number.
using Message = std::tuple<std::string, std::uint32_t, std::uint32_t>;

/// All of the server's source.
std::string Source() {
  std::string source;
  for (const fs::directory_entry& entry : fs::directory_iterator(toolstest::Project() / "src"))
    if (entry.path().extension() == ".cpp") source += support::ReadFile(entry.path().string());
  return source;
}

/// The calls that send a message with numbers of their own, as they stand in the source: those of
/// the base classes pass on what they get.
std::set<std::string> Calls(const std::string& source) {
  const std::regex call(R"([ .](Send(?:Std|Err)Msg\((?!ID\b|GetClassMsgID)[A-Za-z0-9_, ]*\));)");
  std::set<std::string> calls;
  for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at)
    calls.insert((*at)[1]);
  return calls;
}

/// What each call sends.
const std::map<std::string, Message>& KnownCalls() {
  static const auto& calls = *new std::map<std::string, Message>{
      {"SendErrMsg(0, kEntryMsgClass)", {"err", 1000, 0}},
      {"SendStdMsg(_MMInitServer, kEntryMsgClass)", {"std", 1000, 0}},
      {"SendStdMsg(_MMCloseServer, kEntryMsgClass)", {"std", 1000, 1}},
      {"SendStdMsg(0)", {"std", 7000, 0}},
  };
  return calls;
}

TEST(SentMessages, TheServerSendsNoOther) {
  const std::set<std::string> calls = Calls(Source());
  EXPECT_EQ(calls.size(), KnownCalls().size());
  for (const std::string& call : calls)
    EXPECT_THAT(KnownCalls(), Contains(Key(call))) << "is to be added here and in the table";
}

TEST(SentMessages, AreThoseOfTheCalls) {
  std::vector<Message> table;
  for (const SentMessage& message : kSentMessages)
    table.emplace_back(message.Catalogue, message.Class, message.Number);
  std::vector<Message> calls;
  for (const auto& [call, message] : KnownCalls())
    calls.push_back(message);
  EXPECT_THAT(table, UnorderedElementsAreArray(calls));
}

TEST(SentMessages, ServersOwnClassIsTheOneOfTheTable) {
  EXPECT_TRUE(std::regex_search(
      support::ReadFile((toolstest::Project() / "src" / "kaTTSServer.cpp").string()),
      std::regex(R"(_KA_THISCLASS_MSG_ID = 7000;)")));
}

TEST(SentMessages, ExplanationNamesThemAll) {
  const std::string page = support::ReadFile((toolstest::Project() / "docs" / "rules.md").string());
  EXPECT_THAT(page, ::testing::HasSubstr("error 0 of class 1000, and messages 0 and 1 of class "
                                         "1000 and 0 of class 7000"));
  EXPECT_EQ(std::size(kSentMessages), 4U) << "the explanation counts them";
}

}  // namespace

}  // namespace tools
