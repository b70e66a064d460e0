#include <gmock/gmock.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "kaCacheManager.h"
#include "kaTTSServer.h"
#include "support/capture_output.h"
#include "support/fake_clock.h"
#include "support/recording_shell.h"
#include "support/station.h"

namespace {

using support::AnnouncementDocument;
using support::Station;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// A server without listeners whose speech builder and cache manager are a station's.
class AnnouncementsTest : public ::testing::Test {
 protected:
  AnnouncementsTest() {
    Load({});
    MessageCounter = 0;
    CacheManager = new CkaCacheManager(station.Sub("play"), station.Sub("store"));
    CacheManager->setTimeout(3600);
  }

  void Load(const AnnouncementDocument& document) {
    station.SetDocument(document);
    const support::CaptureOutput quiet;
    server->SpeechBuilder.SpeechFormat.LangRefs.clear();
    server->SpeechBuilder.SpeechGen.Languages.clear();
    EXPECT_TRUE(server->SpeechBuilder.Initialize(Station::kDocument));
  }

  /// Hands a block to the callback of the RBL port; notes what it says.
  bool Receive(const std::string& block) {
    const support::CaptureOutput output;
    const bool result = server.Receive(CallBackOnReceiveRBLData, block);
    out = output.Out();
    err = output.Err();
    return result;
  }

  bool Play(const std::string& list) {
    const support::CaptureOutput output;
    const bool result = server->Play(list);
    out = output.Out();
    err = output.Err();
    return result;
  }

  std::string AplayCommand(const std::string& name) const {
    return "aplay " + station.Sub("play/" + name) + ".wav";
  }

  void Provide(const std::string& name) const { station.Write("play/" + name + ".wav", "sound"); }

  support::RecordingShell shell;
  support::IdleServer server;
  Station station;
  std::string out;
  std::string err;
};

using BlockReception = AnnouncementsTest;
using PlayList = AnnouncementsTest;
using Playback = AnnouncementsTest;

constexpr const char* kBlock = "<rbl><row train='ICE 1'/></rbl>";

std::string Success(const std::string& number) {
  return "Meldung Nr. " + number + " --- Meldung OK \n";
}

std::string Failure(const std::string& number) {
  return "Meldung Nr. " + number + " --- Die Meldung konnte nicht generiert werden!!!\n";
}

// --- Reception

TEST_F(BlockReception, FirstBlockIsNumberOne) {
  EXPECT_TRUE(Receive(kBlock));
  EXPECT_THAT(out, StartsWith("CheckDataValidity\n"));
  EXPECT_THAT(out, EndsWith(Success("1")));
  EXPECT_EQ(MessageCounter, 1);
  EXPECT_TRUE(std::filesystem::exists(station.Sub("store/de0")));
}

TEST_F(BlockReception, FaultyBlockIsReportedAndAnsweredLikeAGoodOne) {
  EXPECT_TRUE(Receive("hello"));
  EXPECT_EQ(out, "");
  EXPECT_EQ(err, Failure("1"));
}

TEST_F(BlockReception, EveryBlockIsCounted) {
  Receive(kBlock);
  Receive("hello");
  EXPECT_EQ(err, Failure("2"));
  Receive(kBlock);
  EXPECT_THAT(out, EndsWith(Success("3")));
  EXPECT_EQ(MessageCounter, 3);
}

TEST_F(BlockReception, NumberWrapsAsAnUnsignedOne) {
  MessageCounter = std::numeric_limits<std::int32_t>::max();
  Receive("hello");
  EXPECT_EQ(err, Failure("2147483648"));
  EXPECT_EQ(MessageCounter, std::numeric_limits<std::int32_t>::min());
  MessageCounter = -1;
  Receive("hello");
  EXPECT_EQ(err, Failure("0"));
}

TEST_F(BlockReception, PlaysNothing) {
  Provide("de0");
  Receive(kBlock);
  for (const std::string& command : shell.Commands()) {
    EXPECT_EQ(command.find("aplay"), std::string::npos) << command;
  }
}

TEST_F(BlockReception, SuccessArmsTheCacheTimer) {
  Receive(kBlock);
  ASSERT_NE(CacheManager->timerID, nullptr);
  itimerspec setting{};
  EXPECT_EQ(timer_gettime(CacheManager->timerID, &setting), 0);
  EXPECT_EQ(setting.it_interval.tv_sec, 3600);
}

TEST_F(BlockReception, FailureDoesNotArmTheCacheTimer) {
  Receive("hello");
  EXPECT_EQ(CacheManager->timerID, nullptr);
}

TEST_F(BlockReception, TimerThatCannotBeSetIsReportedAfterTheSuccess) {
  CacheManager->setTimeout(-1);
  EXPECT_TRUE(Receive(kBlock));
  EXPECT_THAT(out, EndsWith(Success("1")));
  EXPECT_THAT(err, EndsWith("Error setting cache timer: Invalid argument\nError setting timer\n"));
}

TEST_F(BlockReception, WithoutCacheManagerTheTimerIsLeftOut) {
  delete CacheManager;
  CacheManager = nullptr;
  EXPECT_TRUE(Receive(kBlock));
  EXPECT_THAT(out, EndsWith(Success("1")));
  EXPECT_EQ(err.find("timer"), std::string::npos);
}

TEST_F(BlockReception, LineEndAfterTheLastTagIsCut) {
  Receive(std::string(kBlock) + "\r\n");
  EXPECT_THAT(out, EndsWith(Success("1")));
}

TEST_F(BlockReception, FillerAfterTheLastTagIsCut) {
  for (const char* filler : {"\r\n\x03", "xxxx", "&&", " second", "\xff\xff"}) {
    Receive(std::string(kBlock) + filler);
    EXPECT_THAT(out, EndsWith(" --- Meldung OK \n")) << filler;
  }
}

TEST_F(BlockReception, LastTagMayCloseItself) {
  AnnouncementDocument document;
  document.Format = "<RBLFormat/>";
  Load(document);
  Receive("<rbl/>filler");
  EXPECT_THAT(out, EndsWith(Success("1")));
}

TEST_F(BlockReception, BracketWithoutItsEndKeepsTheWholeText) {
  for (const char* rest : {"<rb", "a/b", "/"}) {
    Receive(std::string(kBlock) + rest);
    EXPECT_THAT(err, EndsWith(" --- Die Meldung konnte nicht generiert werden!!!\n")) << rest;
  }
}

TEST_F(BlockReception, SlashInTheFillerMovesTheCut) {
  Receive(std::string(kBlock) + "a/b>c");
  EXPECT_EQ(err, Failure("1")) << "all up to the second bracket is kept";
}

TEST_F(BlockReception, TextIsCutAtTheDelimiterAfterwards) {
  Receive(std::string(kBlock) + "///<next>");
  EXPECT_THAT(out, EndsWith(Success("1")));
  Receive("<rbl><row train='a///b'/></rbl>");
  EXPECT_EQ(err, Failure("2")) << "inside a block it cuts the block";
}

TEST_F(BlockReception, OutOfRangeErrorsLeaveIt) {
  AnnouncementDocument document;
  document.Cases = "<Case id='c' substr='train' type='string' operator='eq' begin='9' end='-1'/>";
  Load(document);
  EXPECT_THROW(Receive("<rbl><row train='RE 1'/></rbl>"), std::out_of_range);
  EXPECT_EQ(MessageCounter, 1);
}

// --- Play lists

TEST_F(PlayList, IsSplitAtItsCommas) {
  EXPECT_THAT(server->GetPlayList("a, b,c"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(server->GetPlayList("Ansage1"), ElementsAre("Ansage1"));
}

TEST_F(PlayList, EmptyNameBetweenCommasCounts) {
  EXPECT_THAT(server->GetPlayList("a,,b"), ElementsAre("a", "", "b"));
  EXPECT_THAT(server->GetPlayList(",a"), ElementsAre("", "a"));
  EXPECT_THAT(server->GetPlayList(","), ElementsAre(""));
}

TEST_F(PlayList, CommaAtTheEndAddsNoName) {
  EXPECT_THAT(server->GetPlayList("a,"), ElementsAre("a"));
  EXPECT_THAT(server->GetPlayList("a, "), ElementsAre("a"));
}

TEST_F(PlayList, EmptyOrBlankHasNoName) {
  EXPECT_THAT(server->GetPlayList(""), IsEmpty());
  EXPECT_THAT(server->GetPlayList("   "), IsEmpty());
}

TEST_F(PlayList, OnlyBlanksAreIgnoredAndTheyAreEverywhere) {
  EXPECT_THAT(server->GetPlayList(" An sage 1 ,b\t,c\n"), ElementsAre("Ansage1", "b\t", "c\n"));
}

// --- Playback

TEST_F(Playback, PlaysTheListInItsOrder) {
  Provide("Ansage1");
  Provide("Ansage2");
  EXPECT_TRUE(Play("Ansage1, Ansage2"));
  EXPECT_THAT(shell.Commands(), ElementsAre(AplayCommand("Ansage1"), AplayCommand("Ansage2")));
  EXPECT_EQ(out, AplayCommand("Ansage1") + "\n" + AplayCommand("Ansage2") + "\n");
  EXPECT_EQ(err, "");
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(Playback, HoldsTheDeviceAndThePlayMarker) {
  Provide("a");
  std::vector<int> priorities;
  std::vector<bool> blocked;
  shell.OnCommand([&](const std::string&) {
    priorities.push_back(server->Priority);
    blocked.push_back(server->SpeechBuilder.IsPlayBlocked());
  });
  EXPECT_TRUE(Play("a,a"));
  EXPECT_THAT(priorities, ElementsAre(1, 1));
  EXPECT_THAT(blocked, ElementsAre(true, true));
  EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
}

TEST_F(Playback, MissingFilesAreSkippedSilently) {
  Provide("b");
  EXPECT_TRUE(Play("a,b,c"));
  EXPECT_THAT(shell.Commands(), ElementsAre(AplayCommand("b")));
  EXPECT_EQ(err, "");
}

TEST_F(Playback, OfMissingFilesOnlyPlaysNothingAndFreesTheDevice) {
  EXPECT_TRUE(Play("a,b"));
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
  EXPECT_EQ(server->Priority, 0);
  EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
}

TEST_F(Playback, OfAnEmptyListFreesTheDevice) {
  EXPECT_TRUE(Play(""));
  EXPECT_EQ(server->Priority, 0);
  EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
}

TEST_F(Playback, EmptyNameIsAFileToo) {
  Provide("");
  EXPECT_TRUE(Play("a,,b"));
  EXPECT_THAT(shell.Commands(), ElementsAre("aplay " + station.Sub("play/.wav")));
}

TEST_F(Playback, FailingPlayerDoesNotEndTheList) {
  Provide("a");
  Provide("b");
  const kaShellRunner recording =
      SetShellRunner([](const std::string& /*command*/) { return 256; });
  EXPECT_TRUE(Play("a,b"));
  SetShellRunner(recording);
  EXPECT_EQ(out, AplayCommand("a") + "\n" + AplayCommand("b") + "\n");
}

TEST_F(Playback, WhileTheDeviceIsTakenIsDropped) {
  Provide("a");
  for (const int taken : {1, 2, 3}) {
    server->Priority = taken;
    EXPECT_TRUE(Play("a"));
    EXPECT_EQ(server->Priority, taken);
  }
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
}

TEST_F(Playback, PlayMarkerThatCannotBeWrittenDoesNotMatter) {
  std::filesystem::remove(station.Sub("play"));
  EXPECT_TRUE(Play("a"));
  EXPECT_EQ(server->Priority, 0);
  EXPECT_EQ(out + err, "");
}

TEST_F(Playback, StopsBeforeTheNextNameWhenUrgentTextTookTheDevice) {
  Provide("a");
  Provide("b");
  shell.OnCommand([&](const std::string&) { server->Priority = CkaTTSServer::kSpeaking; });
  EXPECT_TRUE(Play("a,b"));
  EXPECT_THAT(shell.Commands(), ElementsAre(AplayCommand("a")));
  EXPECT_EQ(server->Priority, 2);
}

TEST_F(Playback, StoppedByUrgentTextLeavesThePlayMarker) {
  Provide("a");
  Provide("b");
  shell.OnCommand([&](const std::string&) { server->Priority = CkaTTSServer::kIdle; });
  EXPECT_TRUE(Play("a,b"));
  EXPECT_THAT(shell.Commands(), SizeIs(1)) << "an urgent text that has ended stops it, too";
  EXPECT_TRUE(server->SpeechBuilder.IsPlayBlocked());
  EXPECT_EQ(server->Priority, 0);
}

TEST_F(Playback, InterruptedDuringTheLastNameLeavesThePriorityAndClearsTheMarker) {
  Provide("a");
  shell.OnCommand([&](const std::string&) { server->Priority = CkaTTSServer::kSpeaking; });
  EXPECT_TRUE(Play("a"));
  EXPECT_EQ(server->Priority, 2);
  EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
}

TEST_F(Playback, WithoutRotationDoesNotWait) {
  const support::FakeClock clock;
  Provide("a");
  EXPECT_TRUE(Play("a"));
  EXPECT_THAT(clock.Sleeps(), IsEmpty());
}

TEST_F(Playback, WaitsForARotation) {
  support::FakeClock clock;
  Provide("a");
  server->SpeechBuilder.DoSaveBlock(true);
  clock.OnSleep([&](std::size_t count) {
    EXPECT_EQ(server->Priority, 1) << "the device is held meanwhile";
    EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
    if (count == 3) server->SpeechBuilder.DoSaveBlock(false);
  });
  EXPECT_TRUE(Play("a"));
  EXPECT_THAT(shell.Commands(), ElementsAre(AplayCommand("a")));
  EXPECT_THAT(clock.Sleeps(), Each(500'000U));
  EXPECT_EQ(err, "");
}

TEST_F(Playback, GivesUpWhenARotationLastsLongerThanThreeSeconds) {
  const support::FakeClock clock;
  Provide("a");
  server->SpeechBuilder.DoSaveBlock(true);
  EXPECT_FALSE(Play("a"));
  EXPECT_EQ(err, "Zu langer Überspielzeitraum. Abspielen wurde abgebrochen!!\n");
  EXPECT_EQ(out, "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_FALSE(server->SpeechBuilder.IsPlayBlocked());
  EXPECT_THAT(clock.Sleeps(), Each(500'000U));
  EXPECT_THAT(clock.Sleeps().size(), ::testing::AllOf(::testing::Ge(6U), ::testing::Le(7U)))
      << "3 to 3.5 s";
}

TEST_F(Playback, ThatGaveUpKeepsTheDeviceUntilAnUrgentText) {
  const support::FakeClock clock;
  Provide("a");
  server->SpeechBuilder.DoSaveBlock(true);
  EXPECT_FALSE(Play("a"));
  server->SpeechBuilder.DoSaveBlock(false);
  EXPECT_EQ(server->Priority, 1);
  EXPECT_TRUE(Play("a"));
  const support::CaptureOutput quiet;
  server.Receive(CallBackOnClientSentInput, "Hallo");
  EXPECT_THAT(shell.Commands(), IsEmpty()) << "later lists and plain texts are dropped";
  server.Receive(CallBackOnClientSentInput, "!u");
  EXPECT_EQ(server->Priority, 0);
  shell.Clear();
  EXPECT_TRUE(server->Play("a"));
  EXPECT_THAT(shell.Commands(), ElementsAre(AplayCommand("a")));
}

}  // namespace
