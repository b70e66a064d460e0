// What the client commands send, and what they refuse to send.

#include <gmock/gmock.h>

#include <optional>
#include <set>

#include "client/messages.h"
#include "message_table.h"

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using tools::Language;
using tools::Refused;

std::string Composed(const MessageCase& row) {
  if (row.Command == "say") return tools::PlainText(tools::WithoutLineEnd(row.Input), row.bRaw);
  if (row.Command == "urgent") return tools::UrgentText(tools::WithoutLineEnd(row.Input), row.bRaw);
  if (row.Command == "send") return tools::DataBlock(tools::WithoutLineEnd(row.Input), row.bRaw);
  if (row.Command == "play") return tools::PlayList(row.Names);
  return "!" + row.Command;
}

template <class Work>
std::optional<Refused> Refusal(const Work& work) {
  try {
    work();
    return std::nullopt;
  } catch (const Refused& refused) {
    return refused;
  }
}

TEST(ClientMessages, AreComposedOrRefusedAsTheTableSays) {
  for (const MessageCase& row : MessageTable()) {
    std::string sent;
    const auto refused = Refusal([&] { sent = Composed(row); });
    EXPECT_EQ(refused ? refused->Id() : "", row.Refused) << row.Row;
    EXPECT_EQ(sent, refused ? "" : row.Sent) << row.Row;
  }
}

TEST(ClientMessages, TableHasEveryReason) {
  std::set<std::string> reasons;
  for (const MessageCase& row : MessageTable())
    reasons.insert(row.Refused);
  EXPECT_THAT(reasons, ElementsAre("", "block-end", "empty", "empty-name", "end-mark",
                                   "name-character", "name-command", "not-utf8", "not-xml",
                                   "nul-byte", "shell-character", "too-long", "urgent-mark"));
}

TEST(ClientMessages, RefusalSaysWhatIsInTheWay) {
  const auto shell = Refusal([] { tools::PlainText("5 $", false); });
  ASSERT_TRUE(shell);
  EXPECT_EQ(shell->Message(Language::English),
            "holds '$', which the server's shell interprets; --raw sends it all the same");
  EXPECT_EQ(shell->Message(Language::German),
            "enthält '$', das die Shell des Servers deutet; mit --raw geht es trotzdem");
  const auto name = Refusal([] { tools::PlayList({"de0", "en 0"}); });
  ASSERT_TRUE(name);
  EXPECT_THAT(name->Message(Language::English), HasSubstr("\"en 0\" holds ' '"));
  const auto line = Refusal([] { tools::PlayList({"de0\n"}); });
  ASSERT_TRUE(line);
  EXPECT_THAT(line->Message(Language::English), HasSubstr("holds '\\n'"));
}

TEST(ClientMessages, FaultyBlockIsRefusedWithItsPlace) {
  const auto refused = Refusal([] { tools::DataBlock("<rbl>\n<row></rbl>", false); });
  ASSERT_TRUE(refused);
  EXPECT_THAT(refused->Message(Language::English), HasSubstr("(2:"));
  EXPECT_THAT(refused->Message(Language::English), HasSubstr("mismatch"));
}

TEST(ClientMessages, BlockWhoseEntitiesGrowTooFarIsRefused) {
  std::string block = "<!DOCTYPE r [<!ENTITY a \"" + std::string(1000, 'x') + "\">]><r><row a=\"";
  for (int i = 0; i < 300; ++i)
    block += "&a;";
  block += "\"/></r>";
  const auto refused = Refusal([&] { tools::DataBlock(block, false); });
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->Id(), "not-xml");
  EXPECT_EQ(tools::DataBlock(block, true), block);
}

TEST(ClientMessages, PlayListIsTakenApartAtItsCommas) {
  EXPECT_THAT(tools::NamesOf("de0,en0"), ElementsAre("de0", "en0"));
  EXPECT_THAT(tools::NamesOf("de0"), ElementsAre("de0"));
  EXPECT_THAT(tools::NamesOf("de0,,"), ElementsAre("de0", "", ""));
}

}  // namespace

}  // namespace toolstest
