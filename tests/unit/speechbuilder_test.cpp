#include "kaSpeechbuilder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/capture_output.h"
#include "support/recording_shell.h"
#include "support/station.h"

namespace {

using support::AnnouncementDocument;
using support::Station;

class SpeechbuilderSetUp : public ::testing::Test {
 protected:
  bool Initialize() {
    const support::CaptureOutput quiet;
    return builder.Initialize(Station::kDocument);
  }

  Station station;
  support::RecordingShell shell;
  CkaSpeechbuilder builder;
};

using SpeechbuilderDocument = SpeechbuilderSetUp;
using SpeechbuilderMarkers = SpeechbuilderSetUp;

static_assert(std::has_virtual_destructor_v<CkaSpeechbuilder>);
static_assert(std::is_base_of_v<CkaSuperior, CkaSpeechbuilder>);

TEST(SpeechbuilderConstruction, KnowsNothing) {
  const CkaSpeechbuilder builder;
  EXPECT_FALSE(builder.bIsInitialized);
  EXPECT_EQ(builder.SoundsPath + builder.SteadyPath + builder.StoreAnnounce + builder.PlayAnnounce +
                builder.PlayPrefix + builder.PlaySuffix + builder.SaveSpeechPath +
                builder.PlayBlock + builder.SaveBlock + builder.engineName,
            "");
}

TEST(SpeechbuilderConstruction, SharesItsMessageClassWithTheCaseCheck) {
  EXPECT_EQ(CkaSpeechbuilder().GetClassMsgID(), 11000U);
}

TEST_F(SpeechbuilderSetUp, ReadsTheWholeStation) {
  EXPECT_TRUE(Initialize());
  EXPECT_TRUE(builder.bIsInitialized);
  EXPECT_EQ(builder.SoundsPath, station.Sub("sounds"));
  EXPECT_EQ(builder.SteadyPath, station.Sub("steady"));
  EXPECT_EQ(builder.StoreAnnounce, station.Sub("store"));
  EXPECT_EQ(builder.PlayAnnounce, station.Sub("play"));
  EXPECT_EQ(builder.engineName, "voxeng");
  EXPECT_EQ(builder.SaveSpeechPath, "/opt/tts/bin/save");
  EXPECT_EQ(builder.kaConfig.GetVarPos("nonvoicesounds"), 0);
  EXPECT_EQ(builder.SpeechFormat.GetLanguageCount(), 2);
  EXPECT_EQ(builder.RBLDataFormat.GetAttributeCount(), 2);
  EXPECT_EQ(builder.CaseData.GetCaseCount(), 1);
  EXPECT_EQ(builder.SpeechGen.GetLanguageCount(), 2);
  EXPECT_EQ(builder.GetPlayAnnounce(), station.Sub("play"));
  EXPECT_EQ(builder.GetStoreAnnounce(), station.Sub("store"));
}

TEST_F(SpeechbuilderSetUp, LooksUpEachKeyOnceInItsOrder) {
  station.Set("playprefix", "<");
  station.Set("playsuffix", ">");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.Initialize(Station::kDocument));
  EXPECT_EQ(output.Out(), station.Echo("nonvoicesounds") + station.Echo("steadyspeeches") +
                              station.Echo("storetempram") + station.Echo("playtempram") +
                              station.Echo("playprefix") + station.Echo("playsuffix") +
                              station.Echo("engineName") + station.Echo("savespeechvoxeng"));
  EXPECT_EQ(output.Err(), "");
}

TEST_F(SpeechbuilderSetUp, MissingConfigurationFileFails) {
  const support::TempDir empty;
  const support::ServerRoot root(empty.Path());
  const support::CaptureOutput output;
  EXPECT_FALSE(builder.Initialize(station.Sub("announcements/station.xml")));
  EXPECT_FALSE(builder.bIsInitialized);
  EXPECT_EQ(output.Out(), "");
  EXPECT_EQ(output.Err(), "Profil-Datei nicht vorhanden:./kaconfig/kaTtsServer.kacfg\n");
  EXPECT_EQ(builder.SpeechFormat.GetLanguageCount(), 0);
}

TEST_F(SpeechbuilderSetUp, AbsentPlayPrefixAndSuffixGetTheAudioTag) {
  Initialize();
  EXPECT_EQ(builder.PlayPrefix, " \\audio(play=");
  EXPECT_EQ(builder.PlaySuffix, ".wav) ");
}

TEST_F(SpeechbuilderSetUp, EmptyPlayPrefixAndSuffixGetTheAudioTag) {
  station.Set("playprefix", "");
  station.Set("playsuffix", "");
  Initialize();
  EXPECT_EQ(builder.PlayPrefix, " \\audio(play=");
  EXPECT_EQ(builder.PlaySuffix, ".wav) ");
}

TEST_F(SpeechbuilderSetUp, PlayPrefixAndSuffixAreTakenAsTheyAre) {
  station.Set("playprefix", "x");
  station.Set("playsuffix", " ./y ");
  Initialize();
  EXPECT_EQ(builder.PlayPrefix, "x");
  EXPECT_EQ(builder.PlaySuffix, " ./y ");
}

TEST_F(SpeechbuilderSetUp, SaveCommandComesFromTheKeyOfTheEngineName) {
  station.Set("engineName", "speakout");
  station.Set("savespeechspeakout", "/opt/other/save");
  Initialize();
  EXPECT_EQ(builder.engineName, "speakout");
  EXPECT_EQ(builder.SaveSpeechPath, "/opt/other/save");
}

TEST_F(SpeechbuilderSetUp, PathsAreResolvedAgainstTheRoot) {
  station.Set("nonvoicesounds", "./sounds");
  station.Set("steadyspeeches", "steady");
  station.Set("storetempram", "store/deep");
  station.Set("playtempram", "./play");
  station.Set("savespeechvoxeng", "./save");
  Initialize();
  EXPECT_EQ(builder.SoundsPath, station.Sub("sounds"));
  EXPECT_EQ(builder.SteadyPath, station.Sub("steady"));
  EXPECT_EQ(builder.StoreAnnounce, station.Sub("store/deep"));
  EXPECT_EQ(builder.PlayAnnounce, station.Sub("play"));
  EXPECT_EQ(builder.SaveSpeechPath, station.Sub("save"));
  EXPECT_EQ(builder.PlayBlock, station.Sub("play/playblock"));
}

TEST_F(SpeechbuilderSetUp, MissingDirectoryKeysGiveEmptyPaths) {
  for (const char* key : {"nonvoicesounds", "steadyspeeches", "storetempram", "playtempram"}) {
    station.Remove(key);
  }
  EXPECT_TRUE(Initialize());
  EXPECT_EQ(builder.SoundsPath, "");
  EXPECT_EQ(builder.SteadyPath, "");
  EXPECT_EQ(builder.StoreAnnounce, "");
  EXPECT_EQ(builder.PlayAnnounce, "");
}

TEST_F(SpeechbuilderSetUp, EmptyDirectoryKeysGiveEmptyPaths) {
  for (const char* key : {"nonvoicesounds", "steadyspeeches", "storetempram", "playtempram"}) {
    station.Set(key, "");
  }
  EXPECT_TRUE(Initialize());
  EXPECT_EQ(builder.SoundsPath + builder.SteadyPath + builder.StoreAnnounce + builder.PlayAnnounce,
            "");
}

TEST_F(SpeechbuilderSetUp, MissingEngineNameLooksUpTheBareKey) {
  station.Remove("engineName");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.Initialize(Station::kDocument));
  EXPECT_THAT(output.Out(), ::testing::HasSubstr("GetValueString: engineName=Not Found\n"
                                                 "GetValueString: savespeech=Not Found\n"));
  EXPECT_EQ(builder.engineName, "");
}

TEST_F(SpeechbuilderSetUp, BothMarkersLieInThePlayDirectory) {
  station.Set("playtempram", "/tmp/play");
  Initialize();
  EXPECT_EQ(builder.PlayBlock, "/tmp/play/playblock");
  EXPECT_EQ(builder.SaveBlock, "/tmp/play/saveblock");
}

TEST_F(SpeechbuilderDocument, MissingFileFailsSilently) {
  const support::CaptureOutput output;
  EXPECT_FALSE(builder.Initialize("./announcements/other.xml"));
  EXPECT_FALSE(builder.bIsInitialized);
  EXPECT_EQ(output.Err(), "");
  EXPECT_EQ(builder.PlayAnnounce, station.Sub("play")) << "what was read before stays";
}

TEST_F(SpeechbuilderDocument, FaultyXmlFailsSilently) {
  station.Write(Station::kDocument, "<Station><References></Station>");
  const support::CaptureOutput output;
  EXPECT_FALSE(builder.Initialize(Station::kDocument));
  EXPECT_EQ(output.Err(), "");
}

TEST_F(SpeechbuilderDocument, FaultyReferencesEndTheReading) {
  AnnouncementDocument document;
  document.References = "";
  station.SetDocument(document);
  EXPECT_FALSE(Initialize());
  EXPECT_FALSE(builder.bIsInitialized);
  EXPECT_EQ(builder.RBLDataFormat.GetAttributeCount(), 0);
  EXPECT_EQ(builder.CaseData.GetCaseCount(), 0);
  EXPECT_EQ(builder.SpeechGen.GetLanguageCount(), 0);
}

TEST_F(SpeechbuilderDocument, FaultyRowLimitsEndTheReading) {
  AnnouncementDocument document;
  document.Format = "<RBLFormat minrows=\"2\" maxrows=\"1\"/>";
  station.SetDocument(document);
  const support::CaptureOutput output;
  EXPECT_FALSE(builder.Initialize(Station::kDocument));
  EXPECT_EQ(output.Err(), "Kleinster Zeilenanzahl Wert größer als Maximalwert! \n");
  EXPECT_EQ(builder.SpeechFormat.GetLanguageCount(), 2);
  EXPECT_EQ(builder.CaseData.GetCaseCount(), 0);
  EXPECT_EQ(builder.SpeechGen.GetLanguageCount(), 0);
}

TEST_F(SpeechbuilderDocument, WithoutASimpleCaseTheSpeechSequenceIsNotRead) {
  AnnouncementDocument document;
  document.Cases = "<Case id=\"always\"/>";
  station.SetDocument(document);
  EXPECT_FALSE(Initialize());
  EXPECT_FALSE(builder.bIsInitialized);
  EXPECT_EQ(builder.RBLDataFormat.GetAttributeCount(), 2);
  EXPECT_EQ(builder.SpeechGen.GetLanguageCount(), 0);
}

TEST_F(SpeechbuilderDocument, WithoutReferencesThrows) {
  station.Write(Station::kDocument, "<Station><Assembly/></Station>");
  EXPECT_THROW(Initialize(), std::out_of_range);
  EXPECT_FALSE(builder.bIsInitialized);
}

TEST_F(SpeechbuilderDocument, WithoutAssemblyThrows) {
  station.Write(Station::kDocument, "<Station><References/></Station>");
  EXPECT_THROW(Initialize(), std::out_of_range);
}

TEST_F(SpeechbuilderDocument, WithoutDataFormatThrows) {
  AnnouncementDocument document;
  document.Format = "";
  station.SetDocument(document);
  EXPECT_THROW(Initialize(), std::out_of_range);
  EXPECT_FALSE(builder.bIsInitialized);
}

TEST_F(SpeechbuilderDocument, IsReadWithoutTouchingFilesOrEngineWhenThereIsNoServer) {
  AnnouncementDocument document;
  document.References = R"xml(<Language name="de"><Voice sex="female">anna</Voice>
      <Element id="achtung" trait="steady" text="Achtung"/></Language>)xml";
  station.SetDocument(document);
  EXPECT_TRUE(Initialize());
  EXPECT_EQ(builder.SpeechFormat.GetElementTrait("de", "achtung"), CkaSpeechFormat::_KASsteady);
  EXPECT_TRUE(std::filesystem::is_empty(station.Sub("steady/de")));
  EXPECT_THAT(shell.Commands(), ::testing::IsEmpty());
}

TEST_F(SpeechbuilderMarkers, AreSetAndClearedIndependently) {
  Initialize();
  EXPECT_FALSE(builder.IsSaveBlocked());
  EXPECT_TRUE(builder.DoSaveBlock(true));
  EXPECT_TRUE(builder.IsSaveBlocked());
  EXPECT_FALSE(builder.IsPlayBlocked());
  EXPECT_TRUE(builder.DoPlayBlock(true));
  EXPECT_TRUE(builder.DoSaveBlock(false));
  EXPECT_FALSE(builder.IsSaveBlocked());
  EXPECT_TRUE(builder.IsPlayBlocked());
  EXPECT_TRUE(builder.DoPlayBlock(false));
  EXPECT_FALSE(builder.IsPlayBlocked());
}

TEST_F(SpeechbuilderMarkers, ClearingTwiceIsTrueBothTimes) {
  Initialize();
  builder.DoSaveBlock(true);
  EXPECT_TRUE(builder.DoSaveBlock(false));
  EXPECT_TRUE(builder.DoSaveBlock(false));
  builder.DoPlayBlock(true);
  EXPECT_TRUE(builder.DoPlayBlock(false));
  EXPECT_TRUE(builder.DoPlayBlock(false));
}

TEST_F(SpeechbuilderMarkers, HoldSevenBytesWhateverTheyHeldBefore) {
  Initialize();
  station.Write("play/playblock", "something much longer\n");
  EXPECT_TRUE(builder.DoPlayBlock(true));
  EXPECT_TRUE(builder.DoSaveBlock(true));
  EXPECT_EQ(support::ReadFile(station.Sub("play/playblock")), "blocked");
  EXPECT_EQ(support::ReadFile(station.Sub("play/saveblock")), "blocked");
}

TEST_F(SpeechbuilderMarkers, OnlyTheirExistenceCounts) {
  Initialize();
  station.Write("play/playblock", "");
  std::filesystem::create_directory(station.Sub("play/saveblock"));
  EXPECT_TRUE(builder.IsPlayBlocked());
  EXPECT_TRUE(builder.IsSaveBlocked());
}

TEST_F(SpeechbuilderMarkers, LeftBehindByACrashKeepBlocking) {
  station.Write("play/saveblock", "blocked");
  Initialize();
  EXPECT_TRUE(builder.IsSaveBlocked());
  EXPECT_TRUE(builder.DoSaveBlock(false));
  EXPECT_FALSE(std::filesystem::exists(station.Sub("play/saveblock")));
}

TEST_F(SpeechbuilderMarkers, ThatCannotBeWrittenAreFalseWithoutAMessage) {
  station.Set("playtempram", station.Sub("nowhere"));
  Initialize();
  const support::CaptureOutput output;
  EXPECT_FALSE(builder.DoPlayBlock(true));
  EXPECT_FALSE(builder.DoSaveBlock(true));
  EXPECT_TRUE(builder.DoPlayBlock(false));
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(SpeechbuilderMarkers, ThatCannotBeDeletedAreTrueWithoutAMessage) {
  Initialize();
  station.Write("play/playblock/inner", "");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.DoPlayBlock(false));
  EXPECT_TRUE(builder.IsPlayBlocked());
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(SpeechbuilderMarkers, AreNotExecutable) {
  Initialize();
  builder.DoPlayBlock(true);
  struct stat status {};
  ASSERT_EQ(stat(builder.PlayBlock.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0111U, 0U);
}

}  // namespace
