// A thousand messages of nonsense and malice per port, and the server still serves.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <thread>

#include "hostile.h"
#include "server_fixture.h"

namespace servertest {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kMessages = 1000;

/// Sends one message. \return whether it was answered, or was none that waits for an answer
bool IsServed(unsigned port, const HostileMessage& message) {
  try {
    Client client(port);
    client.Send(message.Text);
    if (message.ResetsAtOnce) {
      client.Vanish();
      return true;
    }
    if (message.Text.empty()) client.EndSending();
    return client.ReceiveAll() == kReceived;
  } catch (const std::system_error& error) {
    ADD_FAILURE() << error.what();
    return false;
  }
}

class Hostile : public ServerTest {
 protected:
  Hostile() {
    // A case that throws for short values joins the game.
    const std::string mark = "<Case id=\"Express\"";
    stage().WriteDocument(Replaced(Content(stage().Dir() + "/station.xml"), mark,
                                   "<Case id=\"Throws\" substr=\"zug\" type=\"string\""
                                   " operator=\"eq\" begin=\"4\" end=\"-1\" value=\"1\"/>" +
                                       mark));
  }

  void ExpectAllPortsServe() const {
    EXPECT_EQ(AskText("Zuletzt"), kReceived);
    EXPECT_EQ(AskData(Block({"ICE 4711"})), kReceived);
    EXPECT_EQ(AskCommand("zuletzt"), kReceived);
    EXPECT_THAT(Out(), HasSubstr("\nspeakout: Zuletzt\n"));
    EXPECT_EQ(Content(stage().Store() + "/de0"), "DE Zug ICE 4711");
    EXPECT_THAT(Out(), HasSubstr("new cmd: zuletzt 0\n"));
  }
};

// The shell interprets what it gets: this server runs as nobody in particular, in an empty
// directory of its own, and finds no program.
TEST_F(Hostile, TextPortSurvives) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can run the server as somebody else";
  for (const char* key : {"rootDir", "engineName", "speakoutstub"})
    stage().Unset(key);
  stage().Set("speakout", ":");
  const auto user = static_cast<uid_t>(61000 + getpid() % 4000);
  const std::string nothing = stage().Beside("nothing");
  const std::string playground = stage().Beside("playground");
  std::filesystem::create_directory(nothing);
  std::filesystem::create_directory(playground);
  ASSERT_EQ(chown(playground.c_str(), user, user), 0);
  for (const std::string& directory : {stage().Store(), stage().Play()}) {
    ASSERT_EQ(chown(directory.c_str(), user, user), 0);
  }
  Plan().User = user;
  Plan().WorkingDirectory = playground;
  std::replace_if(
      Plan().Environment.begin(), Plan().Environment.end(),
      [](const std::string& variable) { return variable.starts_with("PATH="); }, "PATH=" + nothing);
  Start();
  Hostility hostility(1);
  for (int count = 0; count < kMessages; ++count) {
    const HostileMessage message = hostility.ForText();
    ASSERT_TRUE(IsServed(stage().TextPort(), message)) << count << ": " << message.Text;
  }
  ExpectAllPortsServe();
  EXPECT_THAT(stubs().Calls(), IsEmpty());
  EXPECT_EQ(Terminate(), "exit 0");
}

TEST_F(Hostile, DataPortSurvives) {
  // Nothing is synthesised and nothing recorded: that is what takes the time.
  stage().Set("savespeechstub", ":");
  for (const char* tool : {"find", "rm", "cp"})
    stubs().AddReal(tool);
  Start();
  Hostility hostility(2);
  for (int count = 0; count < kMessages; ++count) {
    const HostileMessage message = hostility.ForData();
    ASSERT_TRUE(IsServed(stage().DataPort(), message)) << count << ": " << message.Text;
  }
  ExpectAllPortsServe();
  // Blocks of every kind were among them.
  EXPECT_THAT(Out(), HasSubstr(" --- Meldung OK \n"));
  EXPECT_THAT(Err(), HasSubstr(" --- Die Meldung konnte nicht generiert werden!!!\n"));
  EXPECT_THAT(Err(), HasSubstr(" --- ERROR processing message: "));
  EXPECT_EQ(Terminate(), "exit 0");
}

TEST_F(Hostile, CommandPortSurvives) {
  Start();
  Hostility hostility(3);
  for (int count = 0; count < kMessages; ++count) {
    const HostileMessage message = hostility.ForCommand();
    ASSERT_TRUE(IsServed(stage().CommandPort(), message)) << count << ": " << message.Text;
  }
  ExpectAllPortsServe();
  for (const char* program : {"aplay", "killall", "reboot"}) {
    EXPECT_FALSE(stubs().CallsOf(program).empty()) << program;
  }
  EXPECT_EQ(Terminate(), "exit 0");
}

TEST_F(Hostile, AllPortsSurviveAtOnce) {
  if (kTimersMayExpire) stage().Set("TimeoutCache", "1");  // the cache is cleared in between
  Start();
  const auto attack = [](unsigned port, std::uint32_t seed, auto make) {
    return std::thread([port, seed, make] {
      Hostility hostility(seed);
      for (int count = 0; count < 150; ++count) {
        const HostileMessage message = (hostility.*make)();
        EXPECT_TRUE(IsServed(port, message)) << count << ": " << message.Text;
      }
    });
  };
  std::thread text = attack(stage().TextPort(), 4, &Hostility::PlainText);
  std::thread data = attack(stage().DataPort(), 5, &Hostility::ForData);
  std::thread command = attack(stage().CommandPort(), 6, &Hostility::ForCommand);
  text.join();
  command.join();
  // A text that took the device from a play list leaves the play marker, for which a rotation waits
  // two minutes. A list that is played to its end removes it.
  EXPECT_EQ(AskCommand("zuletzt"), kReceived);
  data.join();
  EXPECT_TRUE(server().IsRunning());
  EXPECT_EQ(AskText("Zuletzt"), kReceived);
  EXPECT_EQ(AskCommand("zuletzt"), kReceived);
  EXPECT_EQ(Terminate(), "exit 0");
}

}  // namespace

}  // namespace servertest
