#include "kaTTSServer.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "ka-tts-server.h"
#include "kaCacheManager.h"
#include "kaShared.h"
#include "support/capture_output.h"
#include "support/loopback.h"
#include "support/recording_shell.h"
#include "support/station.h"
#include "support/wait_until.h"

namespace {

using support::AnnouncementDocument;
using support::Exchange;
using support::Station;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kAnswer = "received\n";

static_assert(std::is_base_of_v<CkaGeneralApplication, CkaTTSServer>);

/// A server that was started on a station, and what it said. A server with open listeners lives as
/// long as the process, so it is never destroyed.
struct StartedServer {
  CkaTTSServer* server = nullptr;
  std::string out;
  std::string err;

  CkaTTSServer* operator->() const { return server; }
};

StartedServer Start() {
  static auto* servers = new std::vector<std::unique_ptr<CkaTTSServer>>;
  StartedServer started;
  const support::CaptureOutput output;
  started.server = servers->emplace_back(std::make_unique<CkaTTSServer>()).get();
  started.out = output.Out();
  started.err = output.Err();
  return started;
}

class ServerStart : public ::testing::Test {
 protected:
  ~ServerStart() override {
    delete CacheManager;
    CacheManager = nullptr;
  }

  /// The lookups of the speech builder's configuration.
  std::string BuilderEchoes() const {
    return station.Echo("nonvoicesounds") + station.Echo("steadyspeeches") +
           station.Echo("storetempram") + station.Echo("playtempram") +
           "GetValueString: playprefix=Not Found\nGetValueString: playsuffix=Not Found\n" +
           station.Echo("engineName") + station.Echo("savespeechvoxeng");
  }

  /// What a start prints on this station, up to the lookups of the ports.
  std::string OutputBeforeListeners() const {
    return "ka-TTS-Server: Meldungen geladen.\n" + station.Echo("nonvoicesounds") +
           station.Echo("bellfile") + station.Echo("speechformat") + BuilderEchoes() +
           station.Echo("steadyspeeches") + station.Echo("steadyspeeches");
  }

  static void ExpectNoListener(const StartedServer& started) {
    EXPECT_FALSE(started->RegularInput.IsOn());
    EXPECT_FALSE(started->RBLInput.IsOn());
    EXPECT_FALSE(started->CMDInput.IsOn());
    EXPECT_EQ(CacheManager, nullptr);
  }

  Station station;
  support::RecordingShell shell;
};

using ServerStartFailure = ServerStart;
using ServerListeners = ServerStart;

// --- A station that starts

TEST_F(ServerStart, SaysEachStepInOrder) {
  const StartedServer server = Start();
  EXPECT_EQ(server.out, OutputBeforeListeners() + station.Echo("reginputport") +
                            station.Echo("rblinputport") + station.Echo("cmdinputport") +
                            station.Echo("TimeoutCache"));
  EXPECT_EQ(server.err, "");
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(ServerStart, SetsTheVariablesOfTheProcess) {
  MessageCounter = 17;
  const StartedServer server = Start();
  EXPECT_EQ(AppRef, server.server);
  EXPECT_EQ(LoadShared(MessageCounter), 0);
  EXPECT_EQ(LoadShared(server->Priority), CkaTTSServer::kIdle);
  EXPECT_EQ(server->_KA_THISCLASS_MSG_ID, 7000U);
  EXPECT_EQ(server->SpeakOutBinPath + server->SaveTextBinPath, "");
}

TEST_F(ServerStart, NeverCountsAsInitialized) {
  const StartedServer server = Start();
  EXPECT_TRUE(server->CMDInput.IsOn()) << "although all of it succeeded";
  EXPECT_FALSE(server->IsInitialized());
  EXPECT_FALSE(server->bIsInitialized);
}

TEST_F(ServerStart, BellFileIsInTheDirectoryOfSounds) {
  station.Set("nonvoicesounds", "./sounds");
  EXPECT_EQ(Start()->BellFile, station.Sub("sounds/bell.wav"));
}

TEST_F(ServerStart, MissingBellKeyLeavesTheDirectory) {
  station.Remove("bellfile");
  EXPECT_EQ(Start()->BellFile, station.Sub("sounds/"));
}

TEST_F(ServerStart, MissingSoundsKeyPutsTheBellIntoTheRoot) {
  station.Remove("nonvoicesounds");
  const StartedServer server = Start();
  EXPECT_EQ(server->BellFile, station.Path() + "//bell.wav");
  EXPECT_EQ(server->SpeechBuilder.SoundsPath, "") << "the builder leaves it empty";
}

TEST_F(ServerStart, CacheManagerGetsBothDirectoriesAndTheTimeout) {
  station.Set("TimeoutCache", "45");
  Start();
  ASSERT_NE(CacheManager, nullptr);
  EXPECT_EQ(CacheManager->playPath, station.Sub("play"));
  EXPECT_EQ(CacheManager->storePath, station.Sub("store"));
  EXPECT_EQ(CacheManager->timeoutCache, 45);
  EXPECT_EQ(CacheManager->timerID, nullptr) << "no countdown yet";
}

TEST_F(ServerStart, MissingTimeoutIsZero) {
  station.Remove("TimeoutCache");
  const StartedServer server = Start();
  ASSERT_NE(CacheManager, nullptr);
  EXPECT_EQ(CacheManager->timeoutCache, 0);
  EXPECT_THAT(server.out, HasSubstr("GetValueString: TimeoutCache=Not Found\n"));
}

TEST_F(ServerStart, EmptiesBothDirectoriesBackupsAndMarkersIncluded) {
  station.Write("store/de0", "text");
  station.Write("store/de0.wav", "speech");
  station.Write("play/de0.wav", "speech");
  station.Write("play/playblock", "blocked");
  station.Write("play/saveblock", "blocked");
  Start();
  EXPECT_TRUE(std::filesystem::is_empty(station.Sub("store")));
  EXPECT_TRUE(std::filesystem::is_empty(station.Sub("play")));
}

TEST_F(ServerStart, DirectoriesThatCannotBeClearedAreNotReported) {
  std::filesystem::remove(station.Sub("store"));
  station.Write("play/sub/inner", "");
  const StartedServer server = Start();
  EXPECT_EQ(server.err, "");
  EXPECT_TRUE(server->CMDInput.IsOn());
}

TEST_F(ServerStart, PreparesSteadySpeechThroughItsOwnBuilder) {
  AnnouncementDocument document;
  document.References = R"xml(<Language name="de"><Voice sex="female">anna</Voice>
      <Element id="achtung" trait="steady" text="Achtung!"/></Language>)xml";
  station.SetDocument(document);
  const StartedServer server = Start();
  const std::string base = station.Sub("steady/de/achtung");
  const std::string command =
      "cd /opt/tts/bin; /opt/tts/bin/save \"" + base + ".txt\" " + base + ".wav";
  EXPECT_THAT(server.out,
              HasSubstr(BuilderEchoes() + station.Echo("steadyspeeches") + "found: " + base +
                        ".txt:  Achtung!\nsteady build ####################\n" +
                        station.Echo("savespeechvoxeng") + "SaveSpeech CMD: " + command + "\n" +
                        station.Echo("reginputport")));
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
  EXPECT_EQ(support::ReadFile(base + ".txt"), "Achtung!");
}

// --- Catalogues

TEST_F(ServerStart, MissingCataloguesAreNoFailure) {
  std::filesystem::remove_all(station.Sub("messages"));
  const StartedServer server = Start();
  std::string expected;
  for (const char* name : {"errDE", "errEN", "stdDE", "stdEN"}) {
    expected += "File does not exist: \"" + station.Sub("messages/") + name + ".csv\" !! \n";
  }
  EXPECT_EQ(server.err, expected) << "no text about the loading itself";
  EXPECT_EQ(server.out.find("ka-TTS-Server: Meldungsfehler!! Die Klasse 7000 ist nicht in der "
                            "Tabelle der geforderten Sprache enthalten. \n\n"),
            0U);
  EXPECT_TRUE(server->CMDInput.IsOn());
}

TEST_F(ServerStart, CataloguesAreLoadedGermanFirst) {
  const StartedServer server = Start();
  EXPECT_EQ(server->ErrMsg.nLanguageCount, 2);
  EXPECT_EQ(server->StdMsg.nLanguageCount, 2);
  const support::CaptureOutput output;
  server->SendErrMsg(0, kEntryMsgClass);
  server->SendStdMsg(_MMCloseServer, kEntryMsgClass);
  server->SetGlobalLanguage(1);
  server->SendErrMsg(0, kEntryMsgClass);
  server->SendStdMsg(0);
  server->SetGlobalLanguage(0);
  EXPECT_EQ(output.Err(),
            "ka-TTS-Server error: Start fehlgeschlagen.\n"
            "ka-TTS-Server error: Start failed.\n");
  EXPECT_EQ(output.Out(), "ka-TTS-Server: Ende.\n\nka-TTS-Server: Messages loaded.\n");
}

TEST_F(ServerStart, LoadMessageDataIsTrueForMissingCatalogues) {
  support::IdleServer server;
  std::filesystem::remove_all(station.Sub("messages"));
  const support::CaptureOutput quiet;
  EXPECT_TRUE(server->LoadMessageData());
}

// --- Starts that end early

TEST_F(ServerStartFailure, WithoutConfigurationNothingIsOpened) {
  std::filesystem::remove(station.Sub("kaconfig/kaTtsServer.kacfg"));
  const StartedServer server = Start();
  EXPECT_EQ(server.out, "");
  EXPECT_EQ(server.err,
            "Profil-Datei nicht vorhanden:./kaconfig/kaTtsServer.kacfg\n"
            "Failed to load config file. \n");
  ExpectNoListener(server);
  EXPECT_FALSE(server->IsInitialized());
  EXPECT_EQ(server->BellFile, "");
}

TEST_F(ServerStartFailure, WithoutConfigurationMessagesHaveNoPrefix) {
  std::filesystem::remove(station.Sub("kaconfig/kaTtsServer.kacfg"));
  const StartedServer server = Start();
  const support::CaptureOutput output;
  server->SendStdMsg(_MMInitServer, kEntryMsgClass);
  EXPECT_EQ(output.Out(),
            "Meldungsfehler!! Die Klasse 1000 ist nicht in der Tabelle der geforderten Sprache "
            "enthalten. \n\n");
}

TEST_F(ServerStart, ConfigurationIsFoundBesideTheExecutableWhereverTheProcessWorks) {
  const auto workingDirectory = std::filesystem::current_path();
  std::filesystem::current_path("/");
  const StartedServer server = Start();
  std::filesystem::current_path(workingDirectory);
  EXPECT_TRUE(server->CMDInput.IsOn());
}

TEST_F(ServerStartFailure, MissingDocumentEndsItSilently) {
  station.Set("speechformat", "./announcements/other.xml");
  const StartedServer server = Start();
  EXPECT_EQ(server.out, "ka-TTS-Server: Meldungen geladen.\n" + station.Echo("nonvoicesounds") +
                            station.Echo("bellfile") + station.Echo("speechformat") +
                            BuilderEchoes());
  EXPECT_EQ(server.err, "");
  ExpectNoListener(server);
  EXPECT_EQ(server->BellFile, station.Sub("sounds/bell.wav"));
}

TEST_F(ServerStartFailure, MissingDocumentKeyEndsItSilently) {
  station.Remove("speechformat");
  const StartedServer server = Start();
  EXPECT_EQ(server.err, "");
  ExpectNoListener(server);
}

TEST_F(ServerStartFailure, DocumentWithoutCasesOpensNoListener) {
  AnnouncementDocument document;
  document.Cases = "";
  station.SetDocument(document);
  ExpectNoListener(Start());
}

TEST_F(ServerStartFailure, DocumentWithoutItsMainSectionsThrows) {
  AnnouncementDocument withoutFormat;
  withoutFormat.Format = "";
  const std::string documents[] = {withoutFormat.Text(), "<Station><Assembly/></Station>",
                                   "<Station><References/></Station>"};
  for (const std::string& document : documents) {
    station.Write(Station::kDocument, document);
    const support::CaptureOutput quiet;
    EXPECT_THROW(CkaTTSServer(), std::out_of_range) << document;
  }
}

TEST_F(ServerStartFailure, ListenerThatIsOnAlreadyIsReportedOnceAndEndsIt) {
  const StartedServer server = Start();
  const support::CaptureOutput output;
  EXPECT_FALSE(server->AutoInit());
  EXPECT_EQ(output.Err(), "Could not open TCP/IP-Socket for TTSServer \n");
  EXPECT_THAT(output.Out(), ::testing::EndsWith(station.Echo("reginputport")))
      << "the other ports are not tried";
}

TEST_F(ServerStartFailure, AutoInitThatSucceedsMarksTheServerInitialized) {
  // As the constructor sees it: only a later store clears the mark.
  static auto* kept = new support::IdleServer;
  const support::CaptureOutput quiet;
  EXPECT_TRUE((*kept)->AutoInit());
  EXPECT_TRUE((*kept)->IsInitialized());
}

// --- Listeners

TEST_F(ServerListeners, AnswerOnTheConfiguredPorts) {
  const StartedServer server = Start();
  EXPECT_EQ(server->RegularInput.nPortNum, station.Port("reginputport"));
  EXPECT_EQ(server->RBLInput.nPortNum, station.Port("rblinputport"));
  EXPECT_EQ(server->CMDInput.nPortNum, station.Port("cmdinputport"));
  const support::CaptureOutput quiet;
  for (const char* key : {"reginputport", "rblinputport", "cmdinputport"}) {
    EXPECT_EQ(Exchange(station.Port(key), "x"), kAnswer) << key;
  }
}

TEST_F(ServerListeners, EachHasItsOwnCallback) {
  const StartedServer server = Start();
  const support::CaptureOutput output;
  EXPECT_EQ(Exchange(station.Port("reginputport"), "Hallo"), kAnswer);
  EXPECT_THAT(shell.Commands(), ElementsAre("cd /opt/tts/voxeng; ./speak -v de \"Hallo\""));
  EXPECT_EQ(Exchange(station.Port("rblinputport"), "no block"), kAnswer);
  EXPECT_EQ(output.Err(), "Meldung Nr. 1 --- Die Meldung konnte nicht generiert werden!!!\n");
  EXPECT_EQ(Exchange(station.Port("cmdinputport"), "!stop"), kAnswer);
  EXPECT_THAT(output.Out(), ::testing::EndsWith("new cmd: !stop 5\n"));
  EXPECT_EQ(LoadShared(server->Priority), CkaTTSServer::kIdle);
}

TEST_F(ServerListeners, PortThatIsRefusedLeavesTheDefault) {
  station.Remove("rblinputport");
  const StartedServer server = Start();
  EXPECT_EQ(server->RBLInput.nPortNum, 50000U);
  EXPECT_EQ(server->CMDInput.nPortNum, station.Port("cmdinputport"));
  EXPECT_TRUE(server->CMDInput.IsOn()) << "start-up completes";
  EXPECT_NE(CacheManager, nullptr);
  EXPECT_THAT(server.out, HasSubstr("GetValueString: rblinputport=Not Found\n"));
}

TEST_F(ServerListeners, PortThatIsNoNumberOrTooLargeLeavesTheDefault) {
  station.Set("rblinputport", "65535");
  station.Set("cmdinputport", "12a");
  const StartedServer server = Start();
  EXPECT_EQ(server->RBLInput.nPortNum, 50000U);
  EXPECT_EQ(server->CMDInput.nPortNum, 50000U);
  EXPECT_EQ(server.err, "Kein Integer!\nKein Integer!\nKein Integer!\n");
}

TEST_F(ServerListeners, PortInUseIsReportedByItsListenerOnly) {
  const support::PortBlocker blocker;
  station.Set("rblinputport", std::to_string(blocker.Port()));
  const support::CaptureOutput output;
  const StartedServer server = Start();
  EXPECT_TRUE(server->CMDInput.IsOn()) << "start-up completes";
  EXPECT_NE(CacheManager, nullptr);
  const std::string report = "Port: " + std::to_string(blocker.Port()) + " --- ";
  EXPECT_TRUE(support::WaitUntil([&] { return !(server.err + output.Err()).empty(); }));
  EXPECT_THAT(
      server.err + output.Err(),
      ::testing::AllOf(::testing::StartsWith(report), ::testing::EndsWith("ERROR on binding\n")));
  EXPECT_EQ(Exchange(station.Port("reginputport"), "x"), kAnswer);
  EXPECT_EQ(Exchange(station.Port("cmdinputport"), "x"), kAnswer);
}

TEST_F(ServerListeners, ServerSurvivesABlockWhoseCaseThrows) {
  AnnouncementDocument document;
  document.Cases = "<Case id='c' substr='train' type='string' operator='eq' begin='5' end='-1'/>";
  station.SetDocument(document);
  Start();
  const support::CaptureOutput output;
  const unsigned port = station.Port("rblinputport");
  EXPECT_EQ(Exchange(port, "<rbl><row train='RE'/></rbl>"), kAnswer);
  EXPECT_EQ(Exchange(port, "<rbl><row train='RE 4711'/></rbl>"), kAnswer);
  EXPECT_THAT(output.Err(), HasSubstr(" --- ERROR processing message: "));
  EXPECT_THAT(output.Out(), ::testing::EndsWith("Meldung Nr. 2 --- Meldung OK \n"));
}

// --- Ending

TEST(ServerEnd, CleanUpClosesTheTextListenerOnly) {
  support::IdleServer server;
  server->RBLInput.bIsOn = true;
  server->CMDInput.bIsOn = true;
  server->CleanUp();
  EXPECT_FALSE(server->RegularInput.IsOn());
  EXPECT_TRUE(server->RBLInput.IsOn());
  EXPECT_TRUE(server->CMDInput.IsOn());
  server->RBLInput.bIsOn = false;
  server->CMDInput.bIsOn = false;
}

TEST(ServerEnd, DestructorDeletesTheCacheManager) {
  struct Noted : CkaCacheManager {
    explicit Noted(bool& deleted) : CkaCacheManager("", ""), pDeleted(&deleted) {}
    ~Noted() override { *pDeleted = true; }
    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;
    bool* pDeleted;
  };
  bool deleted = false;
  {
    const support::IdleServer server;
    CacheManager = new Noted(deleted);
  }
  EXPECT_TRUE(deleted);
  EXPECT_EQ(CacheManager, nullptr);
}

}  // namespace
