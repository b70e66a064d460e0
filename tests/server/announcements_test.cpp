// The data port and play lists: from a block to its speech files, their rotation and their playing.

#include <filesystem>

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kNotGenerated = "Die Meldung konnte nicht generiert werden!!!\n";
constexpr const char* kNoBackup = "Backup-File nicht vorhanden\n";
constexpr const char* kCacheTimeout = "***Cache Timeout***\n";
constexpr const char* kPlayMarker = "run/play/playblock";
constexpr const char* kSaveMarker = "run/play/saveblock";

class Announcements : public ServerTest {
 protected:
  std::string SaveCall(const std::string& name) const {
    const std::string text = stage().Store() + "/" + name;
    return "save [" + text + "] [" + text + ".wav]";
  }
  std::string PlayCall(const std::string& name) const {
    return "aplay [" + stage().Play() + "/" + name + ".wav]";
  }
  std::string StoredText(const std::string& name) const {
    return Content(stage().Store() + "/" + name);
  }
  bool Exists(const std::string& name) const {
    return std::filesystem::exists(stage().Dir() + "/" + name);
  }
  void MakePlayable(const std::vector<std::string>& names) const {
    for (const std::string& name : names)
      stage().Write("run/play/" + name + ".wav", name);
  }
  std::string Rejected(const std::string& number) const {
    return "Meldung Nr. " + number + " --- " + kNotGenerated;
  }
};

// --- data blocks --------------------------------------------------------------------------------

TEST_F(Announcements, BlockBecomesOneTextAndFilePerRowAndLanguage) {
  Start();
  EXPECT_EQ(AskData(Block({"ICE 1", "RE 2"})), kReceived);
  EXPECT_THAT(stubs().CallsOf("save"),
              ElementsAre(SaveCall("de0"), SaveCall("en0"), SaveCall("de1"), SaveCall("en1")));
  EXPECT_EQ(StoredText("de0"), "DE Zug ICE 1");
  EXPECT_EQ(StoredText("en0"), "EN train ICE 1");
  EXPECT_EQ(StoredText("de1"), "DE dann RE 2");
  EXPECT_EQ(StoredText("en1"), "EN then RE 2");
  EXPECT_EQ(Content(stage().Play() + "/en1.wav"), StubSpeech("EN then RE 2"));
  EXPECT_THAT(NewOut(), testing::EndsWith("Meldung Nr. 1 --- Meldung OK \n"));
}

TEST_F(Announcements, FirstBlockReportsTheMissingBackupOncePerLanguageAndRow) {
  Start();
  AskData(Block({"ICE 1", "RE 2"}));
  EXPECT_EQ(NewErr(), std::string(kNoBackup) + kNoBackup + kNoBackup + kNoBackup);
  AskData(Block({"ICE 1", "RE 2"}));
  EXPECT_EQ(CountOf(NewErr(), kNoBackup), 4U);
}

TEST_F(Announcements, UnchangedTextsAreNotSynthesisedAgainButThePlayDirectoryIsRefilled) {
  Start();
  AskData(Block({"ICE 1", "RE 2"}));
  stubs().ForgetCalls();
  stage().Write("run/play/alt.wav", "of an earlier block");
  std::filesystem::remove(stage().Play() + "/de0.wav");
  AskData(Block({"ICE 1", "RE 3"}));
  EXPECT_THAT(stubs().CallsOf("save"), ElementsAre(SaveCall("de1"), SaveCall("en1")));
  EXPECT_THAT(Entries(stage().Play()), ElementsAre("de0.wav", "de1.wav", "en0.wav", "en1.wav"));
  EXPECT_EQ(Content(stage().Play() + "/de1.wav"), StubSpeech("DE dann RE 3"));
}

TEST_F(Announcements, ShorterBlockLeavesOnlyItsRowsToBePlayed) {
  Start();
  AskData(Block({"ICE 1", "RE 2"}));
  AskData(Block({"ICE 1"}));
  EXPECT_THAT(Entries(stage().Play()), ElementsAre("de0.wav", "en0.wav"));
  EXPECT_TRUE(Exists("run/store/de1.wav"));
}

TEST_F(Announcements, SurplusRowsAreIgnored) {
  Start();
  AskData(Block({"1", "2", "3", "4", "5"}));
  EXPECT_THAT(Entries(stage().Play()),
              ElementsAre("de0.wav", "de1.wav", "de2.wav", "en0.wav", "en1.wav", "en2.wav"));
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 1 --- Meldung OK \n"));
}

TEST_F(Announcements, WhatFollowsTheLastTagIsCutOff) {
  Start();
  AskData(Block({"ICE 1"}) + "\r\n");
  AskData(Block({"ICE 2"}) + " filler &&& bytes");
  EXPECT_EQ(NewErr(), std::string(kNoBackup) + kNoBackup);
  EXPECT_EQ(StoredText("de0"), "DE Zug ICE 2");
}

struct FaultyBlock {
  const char* name;
  std::string text;
};

class FaultyBlockTest : public Announcements, public testing::WithParamInterface<FaultyBlock> {};

TEST_P(FaultyBlockTest, IsReportedAndTheNextOneServed) {
  Start();
  EXPECT_EQ(AskData(GetParam().text), kReceived);
  EXPECT_EQ(NewErr(), Rejected("1"));
  EXPECT_THAT(stubs().Calls(), IsEmpty());
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_THAT(NewOut(), testing::EndsWith("Meldung Nr. 2 --- Meldung OK \n"));
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, FaultyBlockTest,
    testing::Values(FaultyBlock{"NoXml", "ICE 1"},
                    FaultyBlock{"NotWellFormed", "<rbl><row zug=\"ICE 1\"></rbl>"},
                    FaultyBlock{"TooFewRows", "<rbl></rbl>"},
                    FaultyBlock{"RequiredValueMissing", "<rbl><row gleis=\"1\"/></rbl>"},
                    FaultyBlock{"RequiredValueEmptyInOneRow", Block({"ICE 1", ""})},
                    FaultyBlock{"RowsOneLevelTooDeep",
                                "<rbl><rows><row zug=\"ICE 1\"/></rows></rbl>"},
                    FaultyBlock{"DelimiterInAValue", Block({"ICE///1"})},
                    FaultyBlock{"SecondBlockBegun", Block({"ICE 1"}) + "<rbl><row"}),
    [](const auto& value) { return std::string(value.param.name); });

TEST_F(Announcements, FailedEngineRunIsNotRepeatedForTheSameText) {
  stubs().AddAt(stage().EngineDir() + "/save", "save", "exit 1");
  Start();
  AskData(Block({"ICE 1"}));
  AskData(Block({"ICE 1"}));
  EXPECT_THAT(stubs().CallsOf("save"), ElementsAre(SaveCall("de0"), SaveCall("en0")));
  EXPECT_THAT(stubs().CallsOf("cp"), IsEmpty());
  EXPECT_EQ(CountOf(NewOut(), "Meldung OK"), 2U);
}

TEST_F(Announcements, EngineThatRemovesItsTextIsRunAgain) {
  stubs().AddAt(stage().EngineDir() + "/save", "save", "/bin/rm -f \"$1\" \"$2\"; exit 1");
  Start();
  AskData(Block({"ICE 1"}));
  AskData(Block({"ICE 1"}));
  EXPECT_EQ(stubs().CallsOf("save").size(), 4U);
}

TEST_F(Announcements, EngineRunsEvenIfTheTextCannotBeKept) {
  stage().Remove("run/store");
  Start();
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_THAT(stubs().CallsOf("save"), ElementsAre(SaveCall("de0"), SaveCall("en0")));
}

// --- rotation -----------------------------------------------------------------------------------

TEST_F(Announcements, RotationWaitsForTheEndOfPlaying) {
  Start();
  MakePlayable({"alt"});
  stubs().Hold("aplay");
  const Client playing(stage().CommandPort());
  playing.Send("alt");
  AwaitCalls("aplay", 1);
  EXPECT_EQ(Content(stage().Dir() + "/" + kPlayMarker), "blocked");
  const Client block(stage().DataPort());
  block.Send(Block({"ICE 1"}));
  AwaitCalls("save", 2);
  EXPECT_TRUE(Exists("run/play/alt.wav"));
  EXPECT_THAT(stubs().CallsOf("find"), IsEmpty());
  stubs().Release("aplay");
  EXPECT_EQ(playing.ReceiveAll(), kReceived);
  EXPECT_EQ(block.ReceiveAll(), kReceived);
  EXPECT_THAT(Entries(stage().Play()), ElementsAre("de0.wav", "en0.wav"));
}

TEST_F(Announcements, RotationHoldsTheSaveMarker) {
  Start();
  stubs().Hold("cp");
  const Client block(stage().DataPort());
  block.Send(Block({"ICE 1"}));
  AwaitCalls("cp", 1);
  EXPECT_EQ(Content(stage().Dir() + "/" + kSaveMarker), "blocked");
  stubs().Release("cp");
  EXPECT_EQ(block.ReceiveAll(), kReceived);
  EXPECT_FALSE(Exists(kSaveMarker));
}

TEST_F(Announcements, PlayListWaitsForTheEndOfARotation) {
  Start();
  MakePlayable({"eins"});
  stage().Write(kSaveMarker, "");
  const Client playing(stage().CommandPort());
  playing.Send("eins");
  ASSERT_TRUE(WaitUntil([this] { return NewOut() == "new cmd: eins 0\n"; }));
  EXPECT_THAT(stubs().Calls(), IsEmpty());
  stage().Remove(kSaveMarker);
  EXPECT_EQ(playing.ReceiveAll(), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins")));
}

TEST_F(Announcements, TooLongRotationGivesUpAndLeavesTheDeviceTakenUntilAnUrgentText) {
  Start();
  MakePlayable({"eins"});
  stage().Write(kSaveMarker, "");
  EXPECT_EQ(AskCommand("eins"), kReceived);
  const std::string gaveUp = "Zu langer Überspielzeitraum. Abspielen wurde abgebrochen!!\n";
  EXPECT_EQ(NewErr(), gaveUp);
  EXPECT_FALSE(Exists(kPlayMarker));
  stage().Remove(kSaveMarker);
  AskCommand("eins");
  AskText("Hallo");
  EXPECT_THAT(stubs().Calls(), IsEmpty()) << "list and text are dropped";
  EXPECT_EQ(NewErr(), gaveUp);

  AskText("!uAchtung");
  AskCommand("eins");
  EXPECT_THAT(stubs().Calls(), ElementsAre("killall [-9] [aplay]", "killall [-9] [play]",
                                           "speak [Achtung]", PlayCall("eins")));
}

// --- play lists ---------------------------------------------------------------------------------

TEST_F(Announcements, PlayListIsPlayedInItsOrder) {
  Start();
  MakePlayable({"Ansage1", "Ansage2", "Ansage3"});
  EXPECT_EQ(AskCommand("Ansage2, Ansage1,An sage3,Ansage2"), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("Ansage2"), PlayCall("Ansage1"),
                                           PlayCall("Ansage3"), PlayCall("Ansage2")));
  EXPECT_FALSE(Exists(kPlayMarker));
}

TEST_F(Announcements, MissingFilesOfAPlayListAreSkipped) {
  Start();
  MakePlayable({"eins"});
  AskCommand("null,,eins,zwei,");
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins")));
  EXPECT_EQ(NewErr(), "");
}

TEST_F(Announcements, PlayListOfMissingFilesPlaysNothingAndFreesTheDevice) {
  Start();
  AskCommand("null,zwei");
  EXPECT_FALSE(Exists(kPlayMarker));
  AskText("Hallo");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Hallo]"));
}

TEST_F(Announcements, PlayListEndsAtTheDelimiterAndTakesLineEndsForPartsOfNames) {
  Start();
  MakePlayable({"eins", "zwei"});
  AskCommand("eins///,zwei");
  AskCommand("zwei\n");
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins")));
}

TEST_F(Announcements, FailingPlayerDoesNotEndThePlayList) {
  stubs().Add("aplay", "exit 1");
  Start();
  MakePlayable({"eins", "zwei"});
  AskCommand("eins,zwei");
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins"), PlayCall("zwei")));
}

// --- cache --------------------------------------------------------------------------------------

TEST_F(Announcements, QuietPeriodEmptiesBothDirectoriesAndTheNextBlockIsMadeAnew) {
  if (!kTimersMayExpire) GTEST_SKIP() << "the thread sanitizer ends the server";
  stage().Set("TimeoutCache", "1");
  Start();
  AskData(Block({"ICE 1"}));
  const auto emptied = [this](std::size_t times) {
    return CountOf(NewOut(), kCacheTimeout) == times && Entries(stage().Store()).empty() &&
           Entries(stage().Play()).empty();
  };
  EXPECT_TRUE(WaitUntil([&] { return emptied(1); })) << NewOut();
  AskData(Block({"ICE 1"}));
  EXPECT_EQ(stubs().CallsOf("save").size(), 4U);
  EXPECT_TRUE(WaitUntil([&] { return emptied(2); })) << NewOut();
  EXPECT_EQ(NewErr(), std::string(kNoBackup) + kNoBackup + kNoBackup + kNoBackup);
}

TEST_F(Announcements, SubdirectoryWithFilesStopsTheClearingSilently) {
  stage().Write("run/store/sub/file", "");
  Start();
  EXPECT_TRUE(Exists("run/store/sub/file"));
  EXPECT_EQ(Err(), "");
}

TEST_F(Announcements, MissingDirectoriesDoNotStopTheStart) {
  stage().Remove("run");
  Start();
  EXPECT_EQ(Err(), "");
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  EXPECT_EQ(AskCommand("de0"), kReceived);
}

}  // namespace

}  // namespace servertest
