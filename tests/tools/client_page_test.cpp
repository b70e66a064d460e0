// Every command of docs/clients.md, run as it is printed there, gives what is printed there.

#include <filesystem>

#include "client_station.h"
#include "message_table.h"
#include "page_commands.h"
#include "server/demo_station.h"
#include "server/stage.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

/// The commands below EXAMPLES of the manual page, as a page of documentation has them.
std::string ExamplesOf(const std::string& language) {
  const std::string page =
      support::ReadFile(KA_SOURCE_DIR "/man/" + language + "/ka-tts-client.1.in");
  const std::size_t begin = page.find(".EX\n") + 4;
  const std::string examples = page.substr(begin, page.find(".EE\n") - begin);
  return "```console\n" + servertest::Replaced(examples, "\\-", "-") + "```\n";
}

class ClientPage : public servertest::DemoStation {
 protected:
  ClientPage() {
    UseStubEngine();
    servertest::LinkOrCopy(ToolPath(), stage().Dir() + "/ka-tts");
  }

  /// A command that puts the ports of this server into a file of the page.
  std::string WithPortsOf(const std::string& file) const {
    return "sed -i 's/=5701/=" + std::to_string(stage().TextPort()) +
           "/;s/=5702/=" + std::to_string(stage().DataPort()) +
           "/;s/=5703/=" + std::to_string(stage().CommandPort()) + "/' " + file;
  }
  /// The page, with the ports of this server in place of those that it shows.
  PageCommands Page() const {
    PageCommands page("docs/clients.md", stage().Dir());
    page.AddToPath(stage().Dir());
    page.Replace("5701", std::to_string(stage().TextPort()));
    page.Replace("5702", std::to_string(stage().DataPort()));
    page.Replace("5703", std::to_string(stage().CommandPort()));
    page.Replace("--host 192.0.2.7", "--host localhost");
    page.Replace("python3 announce.py",
                 WithPortsOf("announce.py") + " && PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=" +
                     KA_SOURCE_DIR "/clients/python " KA_PYTHON " announce.py");
    page.Ignore("\"seconds\": [0-9.e-]+", "\"seconds\": N");
    return page;
  }
};

TEST_F(ClientPage, EveryCommandPrintsWhatIsShown) {
  Start();
  EXPECT_GE(Page().ExpectWhatIsShown(), 18U);
  EXPECT_THAT(stubs().Calls(), Contains(HasSubstr("aplay [" + stage().Play() + "/en0.wav]")));
}

TEST_F(ClientPage, EveryExampleOfTheManualPagesIsAnswered) {
  Start();
  for (const std::string language : {"en", "de"}) {
    auto page = PageCommands::OfText(ExamplesOf(language), stage().Dir());
    page.AddToPath(stage().Dir());
    page.Replace("/usr/lib/ka-tts-server", stage().Dir());
    const std::vector<PageCommand> commands = page.Run();
    ASSERT_EQ(commands.size(), 7U);
    for (std::size_t i = 1; i < commands.size(); ++i)
      EXPECT_THAT(commands[i].Printed, HasSubstr("received\n")) << commands[i].Command;
  }
}

TEST(ClientPageText, HasEveryReasonAndCommand) {
  const std::string page = support::ReadFile(KA_SOURCE_DIR "/docs/clients.md");
  for (const MessageCase& row : MessageTable()) {
    EXPECT_THAT(page, HasSubstr("| `ka-tts " + row.Command));
    if (!row.Refused.empty()) {
      EXPECT_THAT(page, HasSubstr("| `" + row.Refused + "` |"));
    }
  }
}

}  // namespace

}  // namespace toolstest
