#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kaSpeechbuilder.h"
#include "support/capture_output.h"
#include "support/fake_clock.h"
#include "support/recording_shell.h"
#include "support/station.h"

namespace {

using support::AnnouncementDocument;
using support::Station;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kOneRow = "<rbl><row train='ICE 1'/></rbl>";
constexpr const char* kTwoRows = "<rbl><row train='ICE 1'/><row train='RE 2'/></rbl>";

class SpeechFilesTest : public ::testing::Test {
 protected:
  SpeechFilesTest() { Load({}); }

  void Load(const AnnouncementDocument& document) {
    station.SetDocument(document);
    const support::CaptureOutput quiet;
    builder = std::make_unique<CkaSpeechbuilder>();
    EXPECT_TRUE(builder->Initialize(Station::kDocument));
  }

  bool Generate(std::string block) { return builder->GenerateNewSpeeches(block); }

  std::string Store(const std::string& name) const { return station.Sub("store/" + name); }
  std::string Play(const std::string& name) const { return station.Sub("play/" + name); }

  std::string EngineCommand(const std::string& name) const {
    return "cd /opt/tts/bin; /opt/tts/bin/save \"" + Store(name) + "\" " + Store(name) + ".wav";
  }

  std::string DeleteCommand() const {
    return "rm $(find " + station.Sub("play") + "/* -name \"*.wav\")";
  }

  std::string CopyCommand(const std::string& name) const {
    return "cp " + Store(name) + ".wav " + Play(name) + ".wav";
  }

  Station station;
  support::RecordingShell shell;
  std::unique_ptr<CkaSpeechbuilder> builder;
};

using SpeechFileNames = SpeechFilesTest;
using SaveSpeech = SpeechFilesTest;
using MoveSpeeches = SpeechFilesTest;
using GenerateNewSpeeches = SpeechFilesTest;

TEST_F(SpeechFileNames, JoinLanguageAndRowDirectly) {
  EXPECT_EQ(builder->CreateBackupFileName("de", 0), Store("de0"));
  EXPECT_EQ(builder->CreateStoreWavFileName("de", 0), Store("de0.wav"));
  EXPECT_EQ(builder->CreatePlayWavFileName("de", 0), Play("de0.wav"));
  EXPECT_EQ(builder->CreateBackupFileName("en", 120), Store("en120"));
}

// --- One text

TEST_F(SaveSpeech, NewTextIsKeptAndHandedToTheEngine) {
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 2, "Zug fällt aus"));
  EXPECT_EQ(support::ReadFile(Store("de2")), "Zug fällt aus");
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("de2")));
  EXPECT_EQ(output.Out(), station.Echo("savespeechvoxeng"));
  EXPECT_EQ(output.Err(), "Backup-File nicht vorhanden\n");
}

TEST_F(SaveSpeech, TextIsWrittenBeforeTheEngineRuns) {
  std::string seen;
  shell.OnCommand([&](const std::string&) { seen = support::ReadFile(Store("de0")); });
  const support::CaptureOutput quiet;
  builder->SaveSpeech("de", 0, "neu");
  EXPECT_EQ(seen, "neu");
}

TEST_F(SaveSpeech, SameTextIsNotSynthesisedAgain) {
  station.Write("store/de0", "gleich");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 0, "gleich"));
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(SaveSpeech, ChangedTextReplacesTheLastOne) {
  station.Write("store/de0", "vorher und länger");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 0, "jetzt"));
  EXPECT_EQ(support::ReadFile(Store("de0")), "jetzt");
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("de0")));
  EXPECT_EQ(output.Err(), "");
}

TEST_F(SaveSpeech, TextsAreComparedByteForByte) {
  station.Write("store/de0", "Text");
  const support::CaptureOutput quiet;
  builder->SaveSpeech("de", 0, "Text ");
  builder->SaveSpeech("de", 0, "text ");
  EXPECT_THAT(shell.Commands(), SizeIs(2));
}

TEST_F(SaveSpeech, TextWhoseEngineFailedIsNotTriedAgain) {
  const support::CaptureOutput quiet;
  builder->SaveSpeech("de", 0, "Text");
  EXPECT_FALSE(std::filesystem::exists(Store("de0.wav"))) << "the engine made nothing";
  builder->SaveSpeech("de", 0, "Text");
  EXPECT_THAT(shell.Commands(), SizeIs(1));
}

TEST_F(SaveSpeech, EmptyTextEqualsAMissingBackup) {
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 0, ""));
  EXPECT_EQ(output.Err(), "Backup-File nicht vorhanden\n");
  EXPECT_EQ(output.Out(), "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(Store("de0")));
}

TEST_F(SaveSpeech, BackupThatCannotBeWrittenDoesNotKeepTheEngineFromRunning) {
  std::filesystem::remove(station.Sub("store"));
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 0, "Text"));
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("de0")));
  EXPECT_EQ(output.Err(), "Backup-File nicht vorhanden\n");
}

TEST_F(SaveSpeech, DirectoryInPlaceOfTheBackupReadsAsEmpty) {
  std::filesystem::create_directory(Store("de0"));
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->SaveSpeech("de", 0, "Text"));
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("de0")));
  EXPECT_EQ(output.Err(), "");
}

TEST_F(SaveSpeech, BackupIsNotExecutable) {
  const support::CaptureOutput quiet;
  builder->SaveSpeech("de", 0, "Text");
  struct stat status {};
  ASSERT_EQ(stat(Store("de0").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0111U, 0U);
}

TEST_F(SaveSpeech, CommandStandsInTheConfigurationAsItIs) {
  const support::CaptureOutput quiet;
  const auto commandFor = [&](const std::string& value) {
    station.Set("savespeechvoxeng", value);
    Load({});
    shell.Clear();
    builder->SaveSpeech("a.txt", "b.wav");
    return shell.Commands().at(0);
  };
  EXPECT_EQ(commandFor("./save"), "cd .; ./save \"a.txt\" b.wav");
  EXPECT_EQ(commandFor("save"), "cd save; save \"a.txt\" b.wav");
  EXPECT_EQ(commandFor("/save"), "cd ; /save \"a.txt\" b.wav");
  EXPECT_EQ(commandFor("/opt/x/save --voice de --"),
            "cd /opt/x; /opt/x/save --voice de -- \"a.txt\" b.wav");
  EXPECT_EQ(commandFor(""), "cd ;  \"a.txt\" b.wav");
}

TEST_F(SaveSpeech, CommandIsReadAfreshEachTime) {
  const support::CaptureOutput output;
  builder->SaveSpeech("a.txt", "b.wav");
  builder->kaConfig.ProfValues.clear();
  builder->kaConfig.ProfValues.push_back({"savespeechvoxeng", "/new/place/save"});
  builder->SaveSpeech("a.txt", "b.wav");
  EXPECT_THAT(shell.Commands(), ElementsAre("cd /opt/tts/bin; /opt/tts/bin/save \"a.txt\" b.wav",
                                            "cd /new/place; /new/place/save \"a.txt\" b.wav"));
}

TEST_F(SaveSpeech, OfATextFilePrintsItsCommand) {
  const support::CaptureOutput output;
  builder->SaveSpeech("/x/achtung.txt", "/x/achtung.wav");
  const std::string command =
      "cd /opt/tts/bin; /opt/tts/bin/save \"/x/achtung.txt\" /x/achtung.wav";
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
  EXPECT_EQ(output.Out(), station.Echo("savespeechvoxeng") + "SaveSpeech CMD: " + command + "\n");
  EXPECT_EQ(output.Err(), "");
}

// --- Rotation

TEST_F(MoveSpeeches, EmptiesThePlayDirectoryAndCopiesRowByRow) {
  for (const char* name : {"de0.wav", "en0.wav", "de1.wav", "en1.wav"}) {
    station.Write(std::string("store/") + name, "");
  }
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->MoveSpeeches(2));
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand(), CopyCommand("de0"), CopyCommand("en0"),
                                            CopyCommand("de1"), CopyCommand("en1")));
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(MoveSpeeches, MissingSpeechFilesAreLeftOut) {
  station.Write("store/en0.wav", "");
  station.Write("store/de1", "text without speech");
  EXPECT_TRUE(builder->MoveSpeeches(2));
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand(), CopyCommand("en0")));
}

TEST_F(MoveSpeeches, FilesOfFurtherRowsStayInTheStore) {
  station.Write("store/de0.wav", "");
  station.Write("store/de1.wav", "");
  EXPECT_TRUE(builder->MoveSpeeches(1));
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand(), CopyCommand("de0")));
  EXPECT_TRUE(std::filesystem::exists(Store("de1.wav")));
}

TEST_F(MoveSpeeches, CountsLanguagesInTheSpeechSequence) {
  AnnouncementDocument document;
  document.References = AnnouncementDocument::WithPhrases("").References;
  Load(document);
  station.Write("store/de0.wav", "");
  station.Write("store/en0.wav", "");
  EXPECT_TRUE(builder->MoveSpeeches(1));
  EXPECT_THAT(shell.Commands(),
              ElementsAre(DeleteCommand(), CopyCommand("de0"), CopyCommand("en0")));
}

TEST_F(MoveSpeeches, HoldsTheSaveMarkerWhileItDeletesAndCopies) {
  station.Write("store/de0.wav", "");
  std::vector<bool> blocked;
  shell.OnCommand([&](const std::string&) { blocked.push_back(builder->IsSaveBlocked()); });
  EXPECT_TRUE(builder->MoveSpeeches(1));
  EXPECT_THAT(blocked, ElementsAre(true, true));
  EXPECT_FALSE(builder->IsSaveBlocked());
}

TEST_F(MoveSpeeches, DeletesNothingWithoutAPlayDirectoryOfItsOwn) {
  station.Write("store/de0.wav", "");
  for (const std::string path : {"", "/"}) {
    builder->PlayAnnounce = path;
    shell.Clear();
    EXPECT_TRUE(builder->MoveSpeeches(1));
    EXPECT_THAT(shell.Commands(), ElementsAre("cp " + Store("de0.wav") + " " + path + "/de0.wav"));
  }
}

TEST_F(MoveSpeeches, WithoutPlaybackDoesNotWait) {
  const support::FakeClock clock;
  EXPECT_TRUE(builder->MoveSpeeches(1));
  EXPECT_THAT(clock.Sleeps(), IsEmpty());
}

TEST_F(MoveSpeeches, WaitsInHalfSecondsUntilPlaybackEnds) {
  support::FakeClock clock;
  builder->DoPlayBlock(true);
  clock.OnSleep([&](std::size_t count) {
    EXPECT_THAT(shell.Commands(), IsEmpty());
    EXPECT_FALSE(builder->IsSaveBlocked());
    if (count == 100) builder->DoPlayBlock(false);
  });
  const support::CaptureOutput output;
  EXPECT_TRUE(builder->MoveSpeeches(1));
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand()));
  EXPECT_THAT(clock.Sleeps(), Each(500'000U));
  EXPECT_THAT(clock.Sleeps().size(), ::testing::AllOf(::testing::Ge(100U), ::testing::Le(101U)));
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(MoveSpeeches, GivesUpAfterTwoMinutesOfPlayback) {
  const support::FakeClock clock;
  builder->DoPlayBlock(true);
  const support::CaptureOutput output;
  EXPECT_FALSE(builder->MoveSpeeches(1));
  EXPECT_EQ(output.Err(), "Zu langer Abspielzeitraum. Überspielen wurde abgebrochen!!\n");
  EXPECT_EQ(output.Out(), "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_FALSE(builder->IsSaveBlocked());
  EXPECT_TRUE(builder->IsPlayBlocked());
  EXPECT_THAT(clock.Sleeps(), Each(500'000U));
  EXPECT_THAT(clock.Sleeps().size(), ::testing::AllOf(::testing::Ge(240U), ::testing::Le(241U)))
      << "120 s";
}

// --- Whole blocks

TEST_F(GenerateNewSpeeches, MakesEveryRowAndRotates) {
  shell.OnCommand([&](const std::string& command) {
    if (command == EngineCommand("en1")) station.Write("store/en1.wav", "speech");
  });
  const support::CaptureOutput output;
  EXPECT_TRUE(Generate(kTwoRows));
  EXPECT_THAT(shell.Commands(),
              ElementsAre(EngineCommand("de0"), EngineCommand("en0"), EngineCommand("de1"),
                          EngineCommand("en1"), DeleteCommand(), CopyCommand("en1")));
  EXPECT_EQ(output.Out().find("CheckDataValidity\nselect lang 0\n"), 0U);
}

TEST_F(GenerateNewSpeeches, FirstMessageReportsEachMissingBackup) {
  const support::CaptureOutput output;
  EXPECT_TRUE(Generate(kTwoRows));
  const std::string line = "Backup-File nicht vorhanden\n";
  EXPECT_EQ(output.Err(), line + line + line + line);
}

TEST_F(GenerateNewSpeeches, SameMessageTwiceRunsNoEngineButRefillsThePlayDirectory) {
  const support::CaptureOutput first;
  Generate(kOneRow);
  station.Write("store/de0.wav", "");
  shell.Clear();
  const support::CaptureOutput output;
  EXPECT_TRUE(Generate(kOneRow));
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand(), CopyCommand("de0")));
  EXPECT_EQ(output.Out(), "CheckDataValidity\nselect lang 0\nselect lang 0\n");
  EXPECT_EQ(output.Err(), "");
}

TEST_F(GenerateNewSpeeches, SurplusRowsAreIgnored) {
  const support::CaptureOutput quiet;
  EXPECT_TRUE(Generate("<rbl><row train='a'/><row train='b'/><row/><row train='d'/></rbl>"))
      << "the incomplete third row is not looked at";
  EXPECT_TRUE(std::filesystem::exists(Store("en1")));
  EXPECT_FALSE(std::filesystem::exists(Store("de2")));
}

TEST_F(GenerateNewSpeeches, TooFewRowsFailSilently) {
  const support::CaptureOutput output;
  EXPECT_FALSE(Generate("<rbl/>"));
  EXPECT_FALSE(Generate("<rbl><group><row train='a'/></group></rbl>"));
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(GenerateNewSpeeches, DataThatIsNoXmlFailsSilently) {
  const support::CaptureOutput output;
  for (const char* data : {"", "hello", "<rbl>", "<rbl><row train='a'/></rbl>x", "\xff\xfe"}) {
    EXPECT_FALSE(Generate(data)) << data;
  }
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(GenerateNewSpeeches, MissingRequiredValueFailsAfterTheCheck) {
  const support::CaptureOutput output;
  EXPECT_FALSE(Generate("<rbl><row train='a'/><row dest='Ulm'/></rbl>"));
  EXPECT_EQ(output.Out(), "CheckDataValidity\n");
  EXPECT_EQ(output.Err(), "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(GenerateNewSpeeches, BlockWithoutRowsEmptiesThePlayDirectoryWhereAllowed) {
  AnnouncementDocument document;
  document.Format = "<RBLFormat/>";
  Load(document);
  const support::CaptureOutput output;
  EXPECT_TRUE(Generate("<rbl/>"));
  EXPECT_TRUE(Generate("<rbl><row train='a'/></rbl>")) << "all rows are surplus";
  EXPECT_EQ(output.Out(), "CheckDataValidity\nCheckDataValidity\n");
  EXPECT_THAT(shell.Commands(), ElementsAre(DeleteCommand(), DeleteCommand()));
}

TEST_F(GenerateNewSpeeches, NegativeLargestNumberOfRowsIsVeryLarge) {
  AnnouncementDocument document;
  document.Format = "<RBLFormat minrows='1' maxrows='-1'/>";
  Load(document);
  const support::CaptureOutput quiet;
  EXPECT_TRUE(Generate("<rbl><row/><row/><row/></rbl>"));
  EXPECT_TRUE(std::filesystem::exists(Store("en2")));
}

TEST_F(GenerateNewSpeeches, IsTrueAlthoughPlaybackBlockedTheRotation) {
  const support::FakeClock clock;
  builder->DoPlayBlock(true);
  const support::CaptureOutput output;
  EXPECT_TRUE(Generate(kOneRow));
  EXPECT_EQ(output.Err(),
            "Backup-File nicht vorhanden\nBackup-File nicht vorhanden\n"
            "Zu langer Abspielzeitraum. Überspielen wurde abgebrochen!!\n");
  EXPECT_THAT(shell.Commands(), ElementsAre(EngineCommand("de0"), EngineCommand("en0")));
  EXPECT_TRUE(std::filesystem::exists(Store("de0"))) << "the new speech waits in the store";
}

TEST_F(GenerateNewSpeeches, OutOfRangeErrorsLeaveIt) {
  AnnouncementDocument document;
  document.Languages = "";
  Load(document);
  const support::CaptureOutput quiet;
  EXPECT_THROW(Generate(kOneRow), std::out_of_range);
  EXPECT_FALSE(builder->IsSaveBlocked());
}

}  // namespace
