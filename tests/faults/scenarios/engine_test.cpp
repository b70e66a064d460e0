// Engines that fail, hang, or write nothing, half a file or garbage. What the server does when an
// engine fails is also in tests/server: Announcements.FailedEngineRunIsNotRepeatedForTheSameText,
// Announcements.EngineThatRemovesItsTextIsRunAgain,
// TextChannel.FailingEngineIsAnsweredLikeASuccess.

#include <filesystem>
#include <fstream>

#include "fault_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

using EngineFault = FaultTest;

// --- no sound -----------------------------------------------------------------------------------

struct Failure {
  const char* Name;
  const char* Action;
};

class EngineWithoutResult : public FaultTest, public testing::WithParamInterface<Failure> {};

TEST_P(EngineWithoutResult, LeavesTheOldSpeechAndTheServerAtWork) {
  Start();
  ExpectBlockIsServed("ICE 1");
  NoteDescriptors();
  UseEngine(GetParam().Action);
  EXPECT_EQ(AskData(Block({"ICE 2"})), kReceived);
  EXPECT_THAT(NewOut(), EndsWith("Meldung Nr. 2 --- Meldung OK \n"));
  EXPECT_EQ(StoredText("de0"), "DE Zug ICE 2");
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 1"));
  ExpectOtherPortsServe();
  UseGoodEngine();
  ExpectAllPortsServe("ICE 3");
  ExpectNoDescriptorIsLeft();
}

INSTANTIATE_TEST_SUITE_P(Engines, EngineWithoutResult,
                         testing::Values(Failure{"Fails", "exit 1"},
                                         Failure{"IsKilled", "kill -KILL $$"},
                                         Failure{"WritesNothing", "exit 0"}),
                         [](const auto& value) { return std::string(value.param.Name); });

TEST_F(EngineFault, MissingEngineIsReportedByTheShell) {
  Start();
  const std::string command = stage().EngineDir() + "/save";
  stage().Remove("engines/stub/save");
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_EQ(CountOf(NewErr(), ": " + command + ": not found\n"), 2U) << NewErr();
  EXPECT_THAT(stubs().CallsOf("cp"), IsEmpty());
  stage().Remove("engines");
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_THAT(NewErr(), HasSubstr("cd: can't cd to " + stage().EngineDir()));
  UseGoodEngine();
  ExpectAllPortsServe("ICE 2");
}

// --- wrong sound --------------------------------------------------------------------------------

class EngineWithABadFile : public FaultTest, public testing::WithParamInterface<Failure> {};

// The server hands on what the engine wrote: the player refuses it, or plays it as noise, and goes
// on with the list. An engine that renames its finished file never leaves half of one.
TEST_P(EngineWithABadFile, CostsOneAnnouncementOfThePlayList) {
  UseRealPlayer();
  UseEngine(GetParam().Action);
  Start();
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_EQ(PlayedSpeech("de0"), StoredSpeech("de0"));
  EXPECT_EQ(AskCommand("de0,en0"), kReceived);
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre("aplay [" + stage().Play() + "/de0.wav]",
                                                    "aplay [" + stage().Play() + "/en0.wav]"));
  EXPECT_FALSE(Exists(stage().Play() + "/playblock"));
  UseGoodEngine();
  ExpectAllPortsServe("ICE 2");
}

INSTANTIATE_TEST_SUITE_P(
    Engines, EngineWithABadFile,
    testing::Values(Failure{"HalfAFile", "printf 'RIFF\\044\\254\\000\\000WAVEfmt ' >\"$2\""},
                    Failure{"Garbage", "/usr/bin/head -c 5000 /dev/urandom >\"$2\""},
                    Failure{"EmptyFile", ": >\"$2\""}),
    [](const auto& value) { return std::string(value.param.Name); });

// --- no end -------------------------------------------------------------------------------------

TEST_F(EngineFault, HangingEngineHoldsTheDataPortOnly) {
  Start();
  stubs().Hold("save");
  const Client held(stage().DataPort());
  held.Send(Block({"ICE 1"}));
  AwaitCalls("save", 1);
  const Client next(stage().DataPort());
  next.Send(Block({"ICE 2"}));
  ExpectOtherPortsServe();
  EXPECT_FALSE(held.HasAnswer());
  EXPECT_FALSE(next.HasAnswer());
  stubs().Release("save");
  EXPECT_EQ(held.ReceiveAll(), kReceived);
  EXPECT_EQ(next.ReceiveAll(), kReceived);
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 2"));
}

TEST_F(EngineFault, HangingSpeakerHoldsTheTextPortOnly) {
  Start();
  stubs().Hold("speak");
  const Client held(stage().TextPort());
  held.Send("Hallo");
  AwaitCalls("speak", 1);
  ExpectBlockIsServed("ICE 1");
  EXPECT_EQ(AskCommand("de0"), kReceived);
  EXPECT_THAT(stubs().CallsOf("aplay"), IsEmpty()) << "the list is dropped: the device is taken";
  EXPECT_FALSE(held.HasAnswer());
  stubs().Release("speak");
  EXPECT_EQ(held.ReceiveAll(), kReceived);
  ExpectAllPortsServe("ICE 2");
}

// The default engine with work for minutes: an hour of sound that has to be resampled.
TEST_F(EngineFault, TimeLimitInTheCommandFreesTheDataPort) {
  UseRealEngine("--discard-on-failure --time-limit 1");
  constexpr std::size_t kHeader = 44;
  constexpr std::size_t kSize = 3400UL * 8000;
  const std::string endless = stage().Dir() + "/endless.wav";
  std::ofstream(endless, std::ios::binary) << std::string(
      "RIFF\xFF\xFF\xFF\x7FWAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x80\x3E\0\0"
      "\2\0\x10\0data\xFF\xFF\xFF\x7F",
      kHeader);
  std::filesystem::resize_file(endless, kHeader + 2 * kSize);
  Start();
  EXPECT_EQ(AskData(Block({"\\audio(play=" + endless + ")"})), kReceived);
  EXPECT_EQ(CountOf(NewErr(), "ka-espeak-ng: error: the time limit is over\n"), 2U) << NewErr();
  EXPECT_THAT(Entries(stage().Store()), IsEmpty()) << "the same block makes a new attempt";
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_THAT(Entries(stage().Play()), ElementsAre("de0.wav", "en0.wav"));
}

// The shipped adapter ends a synthesiser that hangs.
TEST_F(EngineFault, TimeLimitInTheAdapterFreesTheDataPort) {
  const std::string adapter = stage().EngineDir() + "/adapter.sh";
  stubs().AddAt(adapter, "adapter");
  std::ofstream(adapter) << Replaced(Content(AdapterTemplate()), "LIMIT=20", "LIMIT=1");
  for (const char* tool : {"timeout", "mktemp", "tr", "sed", "mv"})
    stubs().AddReal(tool);
  stubs().Add("espeak-ng", "exec /bin/sleep 600");
  stage().Set("savespeechstub", adapter + " --voice de --discard-on-failure --");
  Start();
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_EQ(CountOf(NewErr(), "adapter.sh: error: cannot save '"), 2U) << NewErr();
  EXPECT_THAT(Entries(stage().Store()), IsEmpty()) << "the same block makes a new attempt";
  stubs().Add("espeak-ng", "printf sound >\"$6\"");
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_EQ(PlayedSpeech("de0"), "sound");
}

}  // namespace

}  // namespace servertest
