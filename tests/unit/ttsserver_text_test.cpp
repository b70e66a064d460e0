#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "kaTTSServer.h"
#include "support/capture_output.h"
#include "support/recording_shell.h"
#include "support/station.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TextTest : public ::testing::Test {
 protected:
  TextTest() {
    server.Set("rootDir", "/opt/tts/");
    server.Set("engineName", "voxeng");
    server.Set("speakoutvoxeng", "./speak -v de");
  }

  /// Hands a text to the callback of the text port; notes what it says.
  bool Receive(const std::string& text) {
    const support::CaptureOutput output;
    const bool result = server.Receive(CallBackOnClientSentInput, text);
    out = output.Out();
    err = output.Err();
    return result;
  }

  static std::string EngineCommand(const std::string& text) {
    return "cd /opt/tts/voxeng; ./speak -v de \"" + text + "\"";
  }

  support::RecordingShell shell;
  support::IdleServer server;
  std::string out;
  std::string err;
};

using SpeakOut = TextTest;
using TextInput = TextTest;
using TextPriority = TextTest;
using CutDelim = TextTest;

constexpr const char* kKillAplay = "killall -9 aplay";
constexpr const char* kKillPlay = "killall -9 play";

// --- The engine's command

TEST_F(SpeakOut, RunsTheEngineInItsDirectoryAndSaysSo) {
  const support::CaptureOutput output;
  EXPECT_TRUE(server->SpeakOut(std::string("Zug fällt aus")));
  const std::string command = "cd /opt/tts/voxeng; ./speak -v de \"Zug fällt aus\"";
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
  EXPECT_EQ(output.Out(),
            "\n################### speakout #####################\n"
            "GetValueString: rootDir=/opt/tts/\n"
            "GetValueString: engineName=voxeng\n"
            "GetValueString: speakoutvoxeng=./speak -v de\n"
            "\nspeakout: Zug fällt aus\ncmd: " +
                command + "\n");
  EXPECT_EQ(output.Err(), "");
}

TEST_F(SpeakOut, MissingKeysAreEmptyPartsOfTheCommand) {
  server->kaConfig.ProfValues.clear();
  const support::CaptureOutput output;
  EXPECT_TRUE(server->SpeakOut(std::string("Hallo")));
  EXPECT_THAT(shell.Commands(), ElementsAre("cd ;  \"Hallo\""));
  EXPECT_EQ(output.Out(),
            "\n################### speakout #####################\n"
            "GetValueString: rootDir=Not Found\n"
            "GetValueString: engineName=Not Found\n"
            "GetValueString: speakout=Not Found\n"
            "\nspeakout: Hallo\ncmd: cd ;  \"Hallo\"\n");
}

TEST_F(SpeakOut, LeavesShellCharactersToTheShell) {
  const std::string text = "\"; echo $HOME `id` \\ 100 %s";
  const support::CaptureOutput output;
  server->SpeakOut(text);
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand(text)));
  EXPECT_THAT(output.Out(), ::testing::HasSubstr("\nspeakout: " + text + "\ncmd: "));
}

TEST_F(SpeakOut, IsTrueWhateverTheEngineReturns) {
  const kaShellRunner recording = SetShellRunner([](const std::string&) { return 256; });
  const support::CaptureOutput quiet;
  EXPECT_TRUE(server->SpeakOut(std::string("Hallo")));
  SetShellRunner(recording);
}

TEST_F(SpeakOut, OfACharacterBufferPrintsALineOfItsOwnFirst) {
  std::string text = "Hallo";
  const support::CaptureOutput output;
  EXPECT_TRUE(server->SpeakOut(text.data()));
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("Hallo")));
  EXPECT_EQ(output.Out().find("\n################### speakout buff#####################\n"
                              "\n################### speakout #####################\n"
                              "GetValueString: rootDir="),
            0U);
}

// --- Texts

TEST_F(TextInput, IsSpoken) {
  EXPECT_TRUE(Receive("Hallo"));
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("Hallo")));
  EXPECT_EQ(server->Priority, 0);
  EXPECT_EQ(err, "");
}

TEST_F(TextInput, DoesNotDependOnTheLengthItIsGiven) {
  const support::CaptureOutput quiet;
  std::string text = "ein Text von mehr als vierzig Zeichen, der ganz gesprochen wird";
  for (const int length : {40, 0, -1}) {
    EXPECT_TRUE(CallBackOnClientSentInput(length, text.data(), server.operator->()));
  }
  EXPECT_THAT(shell.Commands(),
              ElementsAre(EngineCommand(text), EngineCommand(text), EngineCommand(text)));
}

TEST_F(TextInput, IsCutAtTheDelimiter) {
  EXPECT_TRUE(Receive("Hallo///Rest"));
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("Hallo")));
}

TEST_F(TextInput, ThatBeginsWithTheDelimiterSpeaksNothing) {
  EXPECT_TRUE(Receive("///Rest"));
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(TextInput, ThatIsEmptySpeaksNothing) {
  EXPECT_TRUE(Receive(""));
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
}

TEST_F(TextInput, UrgentKillsThePlayersAndIsSpokenWithoutItsMark) {
  EXPECT_TRUE(Receive("!uFeuer///Rest"));
  EXPECT_THAT(shell.Commands(), ElementsAre(kKillAplay, kKillPlay, EngineCommand("Feuer")));
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(TextInput, UrgentMarkAloneKillsThePlayersAndSpeaksNothing) {
  EXPECT_TRUE(Receive("!u"));
  EXPECT_THAT(shell.Commands(), ElementsAre(kKillAplay, kKillPlay));
  EXPECT_EQ(server->Priority, 0);
  EXPECT_EQ(out + err, "");
}

TEST_F(TextInput, UrgentMarkCountsOnlyAtTheVeryBeginning) {
  for (const char* text : {" !uHallo", "!", "!Uhallo", "u!"}) {
    shell.Clear();
    Receive(text);
    EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand(text)));
  }
}

TEST_F(TextInput, OnlyOneUrgentMarkIsTakenAway) {
  Receive("!u!uHallo");
  EXPECT_THAT(shell.Commands(), ElementsAre(kKillAplay, kKillPlay, EngineCommand("!uHallo")));
}

// --- Who has the audio device

TEST_F(TextPriority, TextDuringPlaybackIsDropped) {
  server->Priority = CkaTTSServer::kPlaying;
  EXPECT_TRUE(Receive("Hallo"));
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
  EXPECT_EQ(server->Priority, 1);
}

TEST_F(TextPriority, UrgentTextDuringPlaybackIsSpoken) {
  server->Priority = CkaTTSServer::kPlaying;
  EXPECT_TRUE(Receive("!uHallo"));
  EXPECT_THAT(shell.Commands(), ElementsAre(kKillAplay, kKillPlay, EngineCommand("Hallo")));
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(TextPriority, TextDuringAnotherTextIsSpoken) {
  server->Priority = CkaTTSServer::kSpeaking;
  Receive("Hallo");
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("Hallo")));
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(TextPriority, IsTwoWhileTheEngineSpeaks) {
  std::vector<int> seen;
  shell.OnCommand([&](const std::string&) { seen.push_back(server->Priority); });
  Receive("Hallo");
  EXPECT_THAT(seen, ElementsAre(2));
}

TEST_F(TextPriority, OfUrgentTextIsReplacedByTwoBeforeItIsSpoken) {
  std::vector<int> seen;
  shell.OnCommand([&](const std::string&) { seen.push_back(server->Priority); });
  server->Priority = CkaTTSServer::kPlaying;
  Receive("!uHallo");
  EXPECT_THAT(seen, ElementsAre(1, 1, 2)) << "the players are killed first";
}

TEST_F(TextPriority, TakenByAPlaybackMeanwhileIsLeftToIt) {
  shell.OnCommand([&](const std::string&) { server->Priority = CkaTTSServer::kPlaying; });
  Receive("Hallo");
  EXPECT_EQ(server->Priority, 1);
}

TEST_F(TextPriority, ThreeMeanwhileIsResetLikeTwo) {
  shell.OnCommand([&](const std::string&) { server->Priority = CkaTTSServer::kUrgent; });
  Receive("Hallo");
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(TextPriority, AnyOtherValueMeanwhileStays) {
  shell.OnCommand([&](const std::string&) { server->Priority = 7; });
  Receive("Hallo");
  EXPECT_EQ(server->Priority, 7);
}

// --- The delimiter

TEST_F(CutDelim, GivesTheTextUpToTheFirstDelimiter) {
  EXPECT_EQ(server->CutDelim("a///b///c", "///"), "a");
  EXPECT_EQ(server->CutDelim("///b", "///"), "");
  EXPECT_EQ(server->CutDelim("a////b", "///"), "a");
  EXPECT_EQ(server->CutDelim("a,b", ","), "a");
}

TEST(UsedPartOfBlock, EndsBehindTheLastTagAndAtThreeSlashes) {
  EXPECT_EQ(UsedPartOfBlock("<a></a>\r\nfiller"), "<a></a>");
  EXPECT_EQ(UsedPartOfBlock("<a b='///'/>"), "<a b='");
  EXPECT_EQ(UsedPartOfBlock("no tag"), "no tag");
  EXPECT_EQ(UsedPartOfBlock(""), "");
}

TEST_F(CutDelim, GivesTheWholeTextWithoutOne) {
  EXPECT_EQ(server->CutDelim("a//b/", "///"), "a//b/");
  EXPECT_EQ(server->CutDelim("", "///"), "");
}

}  // namespace
