// Start and end of the process.

#include <sys/wait.h>

#include <csignal>
#include <filesystem>

#include "port_lease.h"
#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using LifeCycle = ServerTest;

TEST_F(LifeCycle, AnyArgumentsBehaveLikeNone) {
  Start();
  EXPECT_EQ(Terminate(), "exit 0");
  const std::string out = Out();
  const std::string err = Err();

  Plan().Arguments = {"--help", "-x", "stop", "!terminate", ""};
  Start();
  EXPECT_EQ(Terminate(), "exit 0");
  EXPECT_EQ(Out(), out);
  EXPECT_EQ(Err(), err);
}

TEST_F(LifeCycle, TerminateSendsTheClosingMessageOnceAndEndsWithStatusZero) {
  Start();
  EXPECT_EQ(Terminate(), "exit 0");
  EXPECT_EQ(NewOut(), "new cmd: !terminate 2\nka-TTS-Server: Dienst endet.\n\n");
  EXPECT_EQ(NewErr(), "");
}

TEST_F(LifeCycle, RestartRunsTheScriptOfTheWorkingDirectoryAndEndsWithStatusZero) {
  stubs().AddAt(stage().WorkDir() + "/restart", "restart",
                "pwd >'" + stage().Beside("restart.pwd") + "'");
  Start();
  const std::string pid = std::to_string(Pid());
  AskCommand("!restart");
  EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0");
  EXPECT_THAT(stubs().Calls(), ElementsAre("restart [" + pid + "] [" + stage().Executable() + "]"));
  EXPECT_EQ(Content(stage().Beside("restart.pwd")), stage().WorkDir() + "\n");
  EXPECT_EQ(NewOut(), "new cmd: !restart 1\nka-TTS-Server: Dienst endet.\n\n");
  EXPECT_EQ(NewErr(), "");
}

TEST_F(LifeCycle, RestartWaitsForTheScriptToReturn) {
  stubs().AddAt(stage().WorkDir() + "/restart", "restart");
  stubs().Hold("restart");
  Start();
  AskCommand("!restart");
  AwaitCalls("restart", 1);
  EXPECT_THAT(NewOut(), HasSubstr("Dienst endet."));
  EXPECT_TRUE(server().IsRunning());
  EXPECT_EQ(AskText("///"), kReceived) << "the listeners live as long as the process";
  stubs().Release("restart");
  EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0");
}

TEST_F(LifeCycle, RestartWithoutAScriptStillEndsWithStatusZero) {
  Start();
  AskCommand("!restart and more words");
  EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0");
  EXPECT_THAT(NewOut(), HasSubstr("new cmd: !restart and more words 1\n"));
}

TEST_F(LifeCycle, MissingConfigurationLeavesTheProcessRunningWithoutPorts) {
  stage().KeepConfigurationFile();
  Launch();
  const std::string noText =
      "Meldungsfehler!! Die Klasse 1000 ist nicht in der Tabelle der geforderten Sprache "
      "enthalten. \n\n";
  EXPECT_TRUE(WaitUntil([&] { return Out() == noText; })) << Out();
  EXPECT_EQ(Err(),
            "Profil-Datei nicht vorhanden:./kaconfig/kaTtsServer.kacfg\n"
            "Failed to load config file. \n");
  EXPECT_EQ(SocketCount(Pid()), 0);
  EXPECT_TRUE(server().IsRunning());
}

TEST_F(LifeCycle, ConfigurationStandsBesideTheExecutableNotInTheWorkingDirectory) {
  Plan().WorkingDirectory = "/";
  Start();
  EXPECT_EQ(AskText("///"), kReceived);
}

TEST_F(LifeCycle, MissingCataloguesLetStartUpContinueWithTheirErrorTexts) {
  stage().Remove("messages");
  Launch();
  const auto noText = [](const std::string& id) {
    return "ka-TTS-Server: Meldungsfehler!! Die Klasse " + id +
           " ist nicht in der Tabelle der geforderten Sprache enthalten. \n\n";
  };
  EXPECT_TRUE(WaitUntil([&] { return Out().ends_with(noText("1000")); })) << Out();
  EXPECT_THAT(Out(), StartsWith(noText("7000")));
  std::string missing;
  for (const char* name : {"errDE", "errEN", "stdDE", "stdEN"}) {
    missing += "File does not exist: \"" + stage().Dir() + "/messages/" + name + ".csv\" !! \n";
  }
  EXPECT_EQ(Err(), missing);
  EXPECT_TRUE(WaitUntil([this] { return ListensOn(Pid(), stage().CommandPort()); }));
  EXPECT_EQ(AskCommand(""), kReceived);
}

// The class table is that of the language read last: here the English rows begin one row later.
TEST_F(LifeCycle, GermanTextsAreFoundAtTheRowsOfTheEnglishCatalogue) {
  stage().Write("messages/stdDE.csv",
                "1000          Null.\n"
                "1000          Eins.\n"
                "1000          Zwei.\n"
                "7000          Drei.\n"
                "7000          Vier.\n");
  stage().Write("messages/stdEN.csv",
                "4000          other class\n"
                "1000          ready\n"
                "1000          ends\n"
                "2000          other class\n"
                "7000          loaded\n");
  Launch();
  EXPECT_TRUE(WaitUntil([this] { return Out().ends_with("ka-TTS-Server: Eins.\n\n"); })) << Out();
  EXPECT_THAT(Out(), StartsWith("ka-TTS-Server: Vier.\n"));
  EXPECT_TRUE(WaitUntil([this] { return ListensOn(Pid(), stage().CommandPort()); }));
  EXPECT_EQ(Terminate(), "exit 0");
  EXPECT_THAT(Out(), testing::EndsWith("ka-TTS-Server: Zwei.\n\n"));
}

TEST_F(LifeCycle, MessageTextOfTwoLinesComesOutOnTwoLines) {
  stage().Write("messages/stdDE.csv",
                "1000          Dienst bereit.\n"
                "1000          Dienst\\nendet.\n"
                "7000          Meldungen geladen.\n");
  Start();
  EXPECT_EQ(Terminate(), "exit 0");
  EXPECT_THAT(Out(), testing::EndsWith("ka-TTS-Server: Dienst\nendet.\n\n"));
}

TEST_F(LifeCycle, MissingBellFileKeyRingsTheDirectory) {
  stage().Unset("bellfile");
  Start();
  AskCommand("!bell");
  EXPECT_THAT(stubs().Calls(), ElementsAre("aplay [" + stage().Sounds() + "/]"));
}

TEST_F(LifeCycle, BellWithoutSoundsDirectoryIsAPathBelowTheRoot) {
  stage().Unset("nonvoicesounds");
  Start();
  AskCommand("!bell");
  EXPECT_THAT(stubs().Calls(), ElementsAre("aplay [" + stage().Dir() + "//bell.wav]"));
}

TEST_F(LifeCycle, TakenPortIsReportedAndStartUpCompletes) {
  const kaDescriptor occupant = OccupyPort(stage().DataPort());
  ASSERT_TRUE(occupant.IsValid());
  StartWithoutPorts();
  AwaitErr("ERROR on binding\n");
  EXPECT_EQ(MaskTimes(Err()), PortReport(stage().DataPort(), "ERROR on binding\n"));
  ASSERT_TRUE(WaitUntil([this] { return ListeningSockets(Pid()).size() == 3; }));
  EXPECT_FALSE(ListensOn(Pid(), stage().DataPort()));
  const Client unserved(stage().DataPort());
  unserved.Send(Block({"ICE 1"}));
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_EQ(AskCommand(""), kReceived);
  EXPECT_FALSE(unserved.HasAnswer());
  EXPECT_THAT(stubs().CallsOf("save"), IsEmpty());
}

TEST_F(LifeCycle, StartUpEmptiesStoreAndPlayDirectoryMarkersIncluded) {
  for (const char* name :
       {"play/playblock", "play/saveblock", "play/de0.wav", "store/de0", "store/de0.wav"}) {
    stage().Write(std::string("run/") + name, "left behind");
  }
  Start();
  EXPECT_THAT(Entries(stage().Play()), IsEmpty());
  EXPECT_THAT(Entries(stage().Store()), IsEmpty());
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived) << "no marker delays the first block";
  EXPECT_THAT(NewErr(), HasSubstr("Backup-File nicht vorhanden\n"));
}

// --- port numbers that are none -----------------------------------------------------------------

struct PortValue {
  const char* name;
  std::optional<std::string> value;
};

class RefusedPort : public ServerTest, public testing::WithParamInterface<PortValue> {};

TEST_P(RefusedPort, LeavesTheListenerOnItsDefaultPort) {
  if (GetParam().value) {
    stage().Set("rblinputport", *GetParam().value);
  } else {
    stage().Unset("rblinputport");
  }
  Plan().OwnNetwork = true;  // the default port belongs to everybody on the machine
  Launch();
  const auto started = [this] { return Out().ends_with(kReadyMessage) || !server().IsRunning(); };
  ASSERT_TRUE(WaitUntil(started)) << Out();
  if (!server().IsRunning()) GTEST_SKIP() << "this machine gives a test no network of its own";
  ASSERT_TRUE(WaitUntil([this] { return ListeningSockets(Pid()).size() == 3; }));
  EXPECT_TRUE(ListensOn(Pid(), stage().TextPort()));
  EXPECT_TRUE(ListensOn(Pid(), 50000));
  EXPECT_TRUE(ListensOn(Pid(), stage().CommandPort()));
}

INSTANTIATE_TEST_SUITE_P(Values, RefusedPort,
                         testing::Values(PortValue{"Missing", std::nullopt}, PortValue{"Zero", "0"},
                                         PortValue{"TooLarge", "65535"},
                                         PortValue{"NoNumber", "12a"}),
                         [](const auto& value) { return std::string(value.param.name); });

// --- announcement documents ---------------------------------------------------------------------

constexpr const char* kReferences =
    "<References><Language name='de'><Voice sex='male'>de</Voice>"
    "<Element id='Zug' trait='temp'/></Language></References>";
constexpr const char* kFormat = "<RBLFormat minrows='1' maxrows='2'/>";
constexpr const char* kCase =
    "<Case id='a' substr='zug' type='string' operator='eq' begin='0' end='0' value='1'/>";

struct Document {
  const char* name;
  std::string xml;
  std::string err;
};

std::string NameOf(const testing::TestParamInfo<Document>& info) {
  return info.param.name;
}

std::string Station(const std::string& references, const std::string& assembly) {
  return "<s>" + references + assembly + "</s>";
}

std::string Assembly(const std::string& content) {
  return "<Assembly>" + content + "</Assembly>";
}

class DocumentWithoutMainSection : public ServerTest,
                                   public testing::WithParamInterface<Document> {};

TEST_P(DocumentWithoutMainSection, EndsTheProcessByTerminate) {
  stage().WriteDocument(GetParam().xml);
  Launch();
  EXPECT_EQ(Describe(server().AwaitEnd()), "signal " + std::to_string(SIGABRT));
  EXPECT_THAT(Err(), HasSubstr("std::out_of_range"));
  EXPECT_THAT(Out(), Not(HasSubstr("Dienst bereit.")));
}

INSTANTIATE_TEST_SUITE_P(
    Sections, DocumentWithoutMainSection,
    testing::Values(Document{"References", Station("", Assembly(std::string(kFormat) + kCase)), ""},
                    Document{"Assembly", Station(kReferences, ""), ""},
                    Document{"RBLFormat", Station(kReferences, Assembly(kCase)), ""}),
    NameOf);

class FaultyDocument : public ServerTest, public testing::WithParamInterface<Document> {};

TEST_P(FaultyDocument, LeavesTheProcessRunningWithoutPorts) {
  stage().WriteDocument(GetParam().xml);
  StartWithoutPorts();
  EXPECT_EQ(Err(), GetParam().err);
  EXPECT_EQ(SocketCount(Pid()), 0);
  EXPECT_TRUE(server().IsRunning());
}

std::vector<Document> FaultyDocuments() {
  const std::string good = std::string(kFormat) + kCase;
  const auto withLanguage = [&](const std::string& content) {
    return Station("<References><Language name='de'>" + content + "</Language></References>",
                   Assembly(good));
  };
  const std::string voice = "<Voice sex='male'>de</Voice>";
  return {
      {"Empty", "", ""},
      {"NotWellFormed", "<s><References></s>", ""},
      {"NoLanguage", Station("<References/>", Assembly(good)), ""},
      {"NoVoice", withLanguage(""), ""},
      {"VoiceWithoutSex", withLanguage("<Voice>de</Voice>"), ""},
      {"VoiceOfOneLetter", withLanguage("<Voice sex='male'>d</Voice>"), ""},
      {"EmptyVoice", withLanguage("<Voice sex='male'/>"), ""},
      {"UnknownTrait", withLanguage(voice + "<Element id='a' trait='Steady'/>"), ""},
      {"MoreMinimumThanMaximumRows",
       Station(kReferences, Assembly(std::string("<RBLFormat minrows='1'/>") + kCase)),
       "Kleinster Zeilenanzahl Wert größer als Maximalwert! \n"},
      {"NoSimpleCase", Station(kReferences, Assembly(std::string(kFormat) + "<Case id='a'/>")), ""},
  };
}

INSTANTIATE_TEST_SUITE_P(Documents, FaultyDocument, testing::ValuesIn(FaultyDocuments()), NameOf);

TEST_F(LifeCycle, MissingDocumentLeavesTheProcessRunningWithoutPorts) {
  stage().Remove("station.xml");
  StartWithoutPorts();
  EXPECT_EQ(Err(), "");
  EXPECT_EQ(SocketCount(Pid()), 0);
  EXPECT_TRUE(server().IsRunning());
}

}  // namespace

}  // namespace servertest
