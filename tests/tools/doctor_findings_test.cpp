// Everything that `ka-tts doctor` finds, provoked on a real station, mended where it can be, and
// gone afterwards.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "demo_station.h"
#include "doctor/finding_groups.h"
#include "doctor_station.h"
#include "server/port_lease.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using servertest::Client;
using servertest::WaitUntil;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kConfig = "kaconfig/kaTtsServer.kacfg";
constexpr uid_t kNobody = 65534;
/// An engine that fails as the shipped one does without its voice.
constexpr const char* kFailingEngine = "#!/bin/sh\necho no voice >&2\nexit 1\n";

void MakeProgram(const std::string& path, const std::string& script) {
  fs::remove(path);
  std::ofstream(path) << script;
  fs::permissions(path, fs::perms(0755));
}

uid_t OwnerOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_uid : ~uid_t{0};
}

class DoctorTest : public DoctorStation {
 protected:
  void GiveRunDirectoriesTo(uid_t user) const {
    ASSERT_EQ(chown(Path("run").c_str(), user, user), 0);
    for (const auto& entry : fs::recursive_directory_iterator(Path("run")))
      ASSERT_EQ(chown(entry.path().c_str(), user, user), 0);
  }
  void SetKey(const std::string& key, const std::string& value) const {
    std::string text = Content(Path(kConfig));
    const std::size_t at = text.find("\n" + key + "=") + 1;
    ASSERT_NE(at, 0U);
    text.replace(at, text.find('\n', at) - at, key + "=\"" + value + "\"");
    stage().Write(kConfig, text);
  }
};

// ---- A healthy station ----

TEST_F(DoctorTest, HealthyRunningStationHasNoFinding) {
  Start();
  SendBlock();
  AskCommand("de0");
  const Ended ended = Doctor({});
  EXPECT_EQ(ended.Status, 0) << ended.Out << ended.Err;
  EXPECT_THAT(ended.Out, AllOf(StartsWith("The server has been running for "),
                               EndsWith("0 errors, 0 warnings, 0 hints; 0 mended\n")));
  EXPECT_THAT(Found({}), IsEmpty());
}

TEST_F(DoctorTest, HealthyStoppedStationHasNoFinding) {
  Start();
  SendBlock();
  Terminate();
  const Ended ended = Doctor({});
  EXPECT_EQ(ended.Status, 0) << ended.Out << ended.Err;
  EXPECT_THAT(ended.Out, StartsWith("The server is not running.\n"));
}

TEST_F(DoctorTest, StationThatNeverRanHasNoFinding) {
  EXPECT_THAT(Found({}), IsEmpty());
}

/// Who may not look into the server's process claims nothing about it.
TEST_F(DoctorTest, HealthyStationHasNoFindingForAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  Start();
  EXPECT_TRUE(tools::AskAs(tools::Identity{kNobody, kNobody, {}}, [this] {
    const Ended ended = Doctor({"--no-probe"}, {{"PATH", "/usr/bin:/bin"}});
    std::fputs((ended.Out + ended.Err).c_str(), stderr);
    return ended.Status == 0;
  }));
}

TEST_F(DoctorTest, SpeaksGerman) {
  stage().Write("run/play/playblock", "blocked");
  const Ended ended = Doctor({"--lang", "de", "--repair", "--no-probe"});
  EXPECT_EQ(ended.Status, 0) << ended.Out;
  EXPECT_THAT(ended.Out,
              AllOf(StartsWith("Der Server läuft nicht.\n"), HasSubstr("    behoben: entfernt\n"),
                    EndsWith("0 Fehler, 0 Warnungen, 0 Hinweise; 1 behoben\n")));
}

TEST_F(DoctorTest, WithoutStationItCannotRun) {
  EXPECT_EQ(RunTool({"doctor", "--station", Path("heard")}).Status, 2);
  EXPECT_EQ(Doctor({"--timeout", "0"}).Status, 2);
  EXPECT_EQ(Doctor({"--probe", "--no-probe"}).Status, 2);
  EXPECT_EQ(Doctor({"--prometheus", Path("missing/figures.prom")}).Status, 2);
}

// ---- Markers ----

TEST_F(DoctorTest, PlayMarkerOfARunningServerIsRemovedAndTheNextBlockIsPlayable) {
  Start();
  stage().Write("run/play/playblock", "blocked");
  ExpectMended("play-marker-stale", "run/play/playblock");
  EXPECT_FALSE(Exists("run/play/playblock"));
  SendBlock();
}

TEST_F(DoctorTest, PlayMarkerOfAStoppedServerIsRemoved) {
  stage().Write("run/play/playblock", "blocked");
  ExpectMended("play-marker-stale", "run/play/playblock");
}

TEST_F(DoctorTest, AgeOfAMarkerIsToldInSeconds) {
  stage().Write("run/play/playblock", "blocked");
  MakeOlder(Path("run/play/playblock"));
  EXPECT_THAT(Doctor({"--no-probe"}).Out, HasSubstr("the play marker is 36"));
}

TEST_F(DoctorTest, MarkerThatAnUrgentTextLeftIsFoundOnceTheTextIsSpoken) {
  Start();
  SendBlock();
  stubs().Hold("aplay");
  std::thread list([this] { AskCommand("de0,en0"); });
  AwaitCalls("aplay", 1);
  std::thread urgent([this] { AskText("!uAchtung"); });
  // Until the text is played, the list may go on to its next announcement.
  AwaitCalls("aplay", 2);
  stubs().Release("aplay");
  urgent.join();
  list.join();
  ASSERT_TRUE(Exists("run/play/playblock"));
  ExpectMended("play-marker-stale", "run/play/playblock");
}

TEST_F(DoctorTest, PlayMarkerWithALivePlayerStays) {
  Start();
  SendBlock();
  stubs().Hold("aplay");
  std::thread list([this] { AskCommand("de0"); });
  AwaitCalls("aplay", 1);
  EXPECT_THAT(Found({"--no-probe", "--repair"}), IsEmpty());
  EXPECT_TRUE(Exists("run/play/playblock"));
  stubs().Release("aplay");
  list.join();
  EXPECT_FALSE(Exists("run/play/playblock"));
}

TEST_F(DoctorTest, PlayerOfAnotherStationDoesNotKeepTheMarker) {
  const support::TempDir elsewhere;
  MakeProgram(elsewhere.Sub("aplay"), "#!/bin/sh\nwhile :; do /bin/sleep 1; done\n");
  stage().Write("run/play/playblock", "blocked");
  servertest::Launch other;
  other.Executable = elsewhere.Sub("aplay");
  other.Arguments = {elsewhere.Sub("de0.wav")};
  other.WorkingDirectory = elsewhere.Path();
  servertest::ServerProcess player(other);
  ExpectMended("play-marker-stale", "run/play/playblock");
  EXPECT_TRUE(player.IsRunning());
}

TEST_F(DoctorTest, SaveMarkerIsRemovedAndTheNextPlayListIsPlayed) {
  Start();
  SendBlock();
  stage().Write("run/play/saveblock", "blocked");
  ExpectMended("save-marker-stale", "run/play/saveblock");
  AskCommand("de0");
  EXPECT_THAT(Heard(), SizeIs(1));
}

TEST_F(DoctorTest, SaveMarkerDuringARotationStays) {
  Start();
  stubs().Hold("cp");
  std::thread block([this] { AskData(SampleBlock("departure-on-time")); });
  AwaitCalls("cp", 1);
  EXPECT_THAT(Found({"--no-probe", "--repair"}), IsEmpty());
  EXPECT_TRUE(Exists("run/play/saveblock"));
  stubs().Release("cp");
  block.join();
  EXPECT_FALSE(Exists("run/play/saveblock"));
}

// ---- Announcements ----

class DoctorSpeech : public DoctorTest {
 protected:
  static constexpr const char* kWave = "run/store/de0.wav";

  void SetUp() override {
    Start();
    SendBlock();
  }
  /// After the repair the same block is spoken again.
  void ExpectRebuilt() const {
    EXPECT_FALSE(Exists("run/store/de0"));
    SendBlock();
    EXPECT_GT(fs::file_size(Path(kWave)), 40000U);
    EXPECT_THAT(Found(), IsEmpty());
  }
};

TEST_F(DoctorSpeech, MissingIsMadeAgain) {
  stage().Remove(kWave);
  ExpectMended("speech-missing", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, EmptyIsMadeAgain) {
  fs::resize_file(Path(kWave), 0);
  ExpectMended("speech-faulty", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, CutOffIsMadeAgain) {
  fs::resize_file(Path(kWave), fs::file_size(Path(kWave)) - 2);
  ExpectMended("speech-faulty", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, WithoutSamplesIsMadeAgain) {
  fs::resize_file(Path(kWave), 44);
  ExpectMended("speech-faulty", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, NoWaveFileIsMadeAgain) {
  stage().Write(kWave, "Segmentation fault\n");
  ExpectMended("speech-faulty", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, OlderThanItsTextIsMadeAgain) {
  MakeOlder(Path(kWave));
  ExpectMended("speech-outdated", kWave);
  ExpectRebuilt();
}

TEST_F(DoctorSpeech, WithoutTextIsNobodysBusiness) {
  stage().Write("run/store/de7.wav", "");
  EXPECT_THAT(Found(), IsEmpty());
}

TEST_F(DoctorTest, TextThatIsBeingSpokenStays) {
  fs::remove(EnginePath());
  UseStubEngine();
  Start();
  stubs().ForgetCalls();
  stubs().Hold("engine");
  std::thread block([this] { AskData(SampleBlock("departure-on-time")); });
  AwaitCalls("engine", 1);
  EXPECT_TRUE(Exists("run/store/de0"));
  EXPECT_FALSE(Exists("run/store/de0.wav"));
  // The stub leaves no real phrases, so those are found, and tried in vain.
  const std::vector<std::string> found = Found({"--no-probe", "--repair", "--timeout", "0.1"});
  EXPECT_THAT(found, Not(Contains(HasSubstr("run/store"))));
  EXPECT_TRUE(Exists("run/store/de0"));
  stubs().Release("engine");
  block.join();
}

// ---- Prepared phrases ----

TEST_F(DoctorTest, OutdatedPhraseIsMadeAnew) {
  Start();
  const std::string wave = Path("run/steady/de/approach.wav");
  MakeOlder(wave);
  ExpectMended("prepared-outdated", "run/steady/de/approach.wav");
  EXPECT_GT(fs::last_write_time(wave), fs::last_write_time(Path("run/steady/de/approach.txt")));
  EXPECT_GT(fs::file_size(wave), 10000U);
}

TEST_F(DoctorTest, FaultyPhraseOfAStoppedStationIsMadeAnew) {
  Start();
  Terminate();
  fs::resize_file(Path("run/steady/en/approach.wav"), 100);
  ExpectMended("prepared-faulty", "run/steady/en/approach.wav");
}

TEST_F(DoctorTest, MissingPhraseOfARunningServerIsMadeAnew) {
  Start();
  stage().Remove("run/steady/de/approach.wav");
  ExpectMended("prepared-missing", "run/steady/de/approach.wav");
}

TEST_F(DoctorTest, MissingPhraseOfAStoppedStationIsLeftToItsStart) {
  Start();
  Terminate();
  stage().Remove("run/steady/de/approach.wav");
  EXPECT_THAT(Found(), IsEmpty());
}

TEST_F(DoctorTest, OldPhraseStaysWhereTheEngineFails) {
  Start();
  Terminate();
  MakeProgram(EnginePath(), kFailingEngine);
  const std::string wave = Path("run/steady/de/approach.wav");
  MakeOlder(wave);
  const std::string before = Content(wave);
  const Ended ended = Doctor({"--repair", "--no-probe"});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("    could not be mended\n"));
  EXPECT_EQ(Content(wave), before);
}

// ---- Directories ----

TEST_F(DoctorTest, MissingDirectoryIsMade) {
  for (const char* directory : {"run/store", "run/play", "run/steady/de"}) {
    stage().Remove(directory);
    ExpectMended("directory-absent", directory);
    EXPECT_TRUE(fs::is_directory(Path(directory)));
  }
}

TEST_F(DoctorTest, DirectoryWithoutParentIsNotMade) {
  stage().Remove("run");
  const std::vector<std::string> found = Found({"--no-probe", "--repair"});
  EXPECT_THAT(found, AllOf(SizeIs(4), Each(StartsWith("directory-absent "))));
  EXPECT_FALSE(Exists("run"));
}

TEST_F(DoctorTest, DirectoryThatCannotBeWrittenIsToldOnly) {
  fs::permissions(Path("run/store"), fs::perms(0555));
  ExpectOnly("directory-unwritable", "run/store");
  fs::permissions(Path("run/store"), fs::perms(0755));
}

TEST_F(DoctorTest, DirectoryIsLookedAtWithTheServersRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can run a server as another user";
  GiveRunDirectoriesTo(kNobody);
  ASSERT_EQ(chown(Path("run/play").c_str(), 0, 0), 0);
  Plan().User = kNobody;
  Start();
  ExpectOnly("directory-unwritable", "run/play");
}

TEST_F(DoctorTest, WhatRootRepairsStaysTheServers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can run a server as another user";
  GiveRunDirectoriesTo(kNobody);
  Plan().User = kNobody;
  Start();
  MakeOlder(Path("run/steady/de/approach.wav"));
  ExpectMended("prepared-outdated", "run/steady/de/approach.wav");
  stage().Remove("run/store");
  ExpectMended("directory-absent", "run/store");
  EXPECT_EQ(OwnerOf(Path("run/steady/de/approach.wav")), kNobody);
  EXPECT_EQ(OwnerOf(Path("run/store")), kNobody);
  EXPECT_THAT(Found({}), IsEmpty());
}

TEST_F(DoctorTest, FullDirectoryIsTold) {
  const std::string command = "ALSA_CONFIG_PATH=" + SoundSettings() +
                              " unshare -rm sh -c 'mount -t tmpfs -o size=1m tmpfs " +
                              Path("run/store") + " && exec " + ToolPath() +
                              " doctor --no-probe --lang en --station " + stage().Dir() + "' >" +
                              Path("out") + " 2>&1";
  const int status = std::system(command.c_str());
  const std::string out = Content(Path("out"));
  if (out.find("server is not running") == std::string::npos)
    GTEST_SKIP() << "no file system can be mounted here: " << out;
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_THAT(out, HasSubstr("run/store: error directory-full: in the directory (store) 1024 KiB"));
}

// ---- The engine ----

TEST_F(DoctorTest, FailingEngineIsToldForEachCommandAndLanguage) {
  MakeProgram(EnginePath(), kFailingEngine);
  const Ended ended = Doctor({});
  EXPECT_EQ(ended.Status, 1);
  for (const char* command : {"savespeechespeak-ng (de) ended with status 1 and without a good "
                              ".wav file: no voice\n",
                              "savespeechespeak-ng (en) ended with status 1 and",
                              "speakoutespeak-ng ended with status 1: no voice\n"})
    EXPECT_THAT(ended.Out, HasSubstr(std::string("engine-fails: the command ") + command));
  EXPECT_THAT(Found({"--no-probe"}), IsEmpty());
}

TEST_F(DoctorTest, MissingEngineIsTold) {
  fs::remove(EnginePath());
  EXPECT_THAT(Found({}), AllOf(SizeIs(3), Each(std::string("engine-fails ") + kConfig)));
}

TEST_F(DoctorTest, SlowEngineIsEndedAndTold) {
  MakeProgram(EnginePath(), "#!/bin/sh\nexec /bin/sleep 600\n");
  EXPECT_THAT(Found({"--timeout", "0.3"}),
              AllOf(SizeIs(3), Each(std::string("engine-slow ") + kConfig)));
}

TEST_F(DoctorTest, VoiceThatTheEngineLacksIsFoundByItsLanguage) {
  std::string document = Content(Path("announcements/station.xml"));
  const std::string prefix = "generalprefix=\"\\voice(en-gb";
  const std::size_t at = document.find(prefix);
  ASSERT_NE(at, std::string::npos);
  document.replace(at, prefix.size(), "generalprefix=\"\\voice(nobody9");
  stage().Write("announcements/station.xml", document);
  const Ended ended = Doctor({});
  EXPECT_THAT(ended.Out, HasSubstr("the command savespeechespeak-ng (en) ended with status 1"));
  EXPECT_THAT(ended.Out, Not(HasSubstr("savespeechespeak-ng (de)")));
}

TEST_F(DoctorTest, ProbeRunsTheServersCommandsAndIsNotHeard) {
  Start();
  SendBlock();
  stubs().ForgetCalls();
  EXPECT_THAT(Found({}), IsEmpty());
  EXPECT_THAT(stubs().CallsOf("aplay"), SizeIs(1)) << "the engine's own player";
  EXPECT_THAT(Heard(), IsEmpty());

  MakeProgram(EnginePath(), "#!/bin/sh\necho \"$PWD\" \"$@\" >>" + Path("calls") + "\n");
  Doctor({});
  std::vector<std::string> calls;
  std::ifstream record(Path("calls"));
  for (std::string call; std::getline(record, call);)
    calls.push_back(call);
  const std::string directory = fs::path(EnginePath()).parent_path().string();
  ASSERT_THAT(calls, Not(IsEmpty()));
  EXPECT_THAT(calls.front(), AllOf(StartsWith(directory + " --voice de --discard-on-failure -- /"),
                                   EndsWith("/probe0.wav")));
  EXPECT_EQ(calls.back(), directory + " --voice de -- Test");
}

TEST_F(DoctorTest, ProbeLeavesNothingBehind) {
  const support::TempDir temporary;
  EXPECT_EQ(Doctor({}, {{"TMPDIR", temporary.Path()}}).Status, 0);
  EXPECT_TRUE(fs::is_empty(temporary.Path()));
}

TEST_F(DoctorTest, ProbeWithoutADirectoryIsAHint) {
  stage().Write("file", "");
  const Ended ended = Doctor({}, {{"TMPDIR", Path("file")}});
  EXPECT_EQ(ended.Status, 0) << ended.Out;
  EXPECT_THAT(ended.Out, HasSubstr("hint engine-not-probed: "));
}

// ---- Sound ----

TEST_F(DoctorTest, MissingPlayerIsTold) {
  Start();
  fs::remove(stubs().Directory() + "/aplay");
  ExpectOnly("player-absent", stubs().Directory());
}

TEST_F(DoctorTest, MissingSoundCardIsTold) {
  if (fs::exists("/proc/asound/cards") || fs::exists("/etc/asound.conf"))
    GTEST_SKIP() << "this machine has sound";
  const Ended ended = Doctor({"--no-probe"}, {{"ALSA_CONFIG_PATH", ""}, {"HOME", stage().Dir()}});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("error sound-card-absent: "));
}

// ---- Ports ----

TEST_F(DoctorTest, PortOfAStoppedStationThatAnotherProgramHasIsTold) {
  const kaDescriptor occupant = servertest::OccupyPort(stage().TextPort());
  ASSERT_TRUE(occupant.IsValid());
  ExpectOnly("port-taken", kConfig);
  EXPECT_THAT(Doctor({"--no-probe"}).Out, HasSubstr("(process " + std::to_string(getpid()) + ")"));
}

TEST_F(DoctorTest, PortThatARunningServerDidNotGetIsTold) {
  const kaDescriptor occupant = servertest::OccupyPort(stage().DataPort());
  ASSERT_TRUE(occupant.IsValid());
  StartWithoutPorts();
  ASSERT_TRUE(WaitUntil([this] { return servertest::ListensOn(Pid(), stage().CommandPort()); }));
  ExpectOnly("port-taken", kConfig);
}

TEST_F(DoctorTest, SecondServerOnThePortsIsTold) {
  Start();
  servertest::Launch plan = Plan();
  plan.Out = plan.Err = -1;
  const servertest::ServerProcess second(plan);
  ASSERT_TRUE(
      WaitUntil([&] { return servertest::ListensOn(second.Pid(), stage().CommandPort()); }));
  const std::string found = std::string("port-shared ") + kConfig;
  EXPECT_THAT(Found(), ElementsAre(found, found, found));
  const std::string out = Doctor({"--no-probe"}).Out;
  for (const pid_t server : {Pid(), second.Pid()})
    EXPECT_THAT(out, HasSubstr("ka-tts-server (process " + std::to_string(server) + ")"));
}

TEST_F(DoctorTest, PortThatIsNotOpenIsTold) {
  Start();
  const servertest::PortLease another;
  SetKey("cmdinputport", std::to_string(another.Number()));
  EXPECT_THAT(Found(), ElementsAre(std::string("port-closed ") + kConfig,
                                   std::string("configuration-changed ") + kConfig));
}

TEST_F(DoctorTest, ServerThatCouldNotReadItsDocumentIsTold) {
  stage().Write("announcements/station.xml", "<Station>");
  Launch();
  ASSERT_TRUE(WaitUntil([this] {
    return Out().find("Dienst") != std::string::npos || !server().IsRunning() ||
           servertest::CountOf(Out(), "ka-TTS-Server: ") >= 2;
  }));
  const std::vector<std::string> found = Found();
  EXPECT_THAT(found, Contains("document-unreadable announcements/station.xml"));
  EXPECT_THAT(found, Contains(std::string("port-closed ") + kConfig));
}

TEST_F(DoctorTest, SilentClientIsToldWithoutAConnection) {
  Start();
  const Client silent(stage().TextPort());
  const std::string found = std::string("client-silent ") + kConfig;
  ASSERT_TRUE(WaitUntil([&] { return Found() == std::vector<std::string>{found}; }));
  const Client waiting(stage().TextPort());
  const std::string peer = "127.0.0.1:" + std::to_string(silent.LocalPort());
  EXPECT_TRUE(WaitUntil([&] {
    const std::string out = Doctor({"--no-probe"}).Out;
    return out.find(peer) != std::string::npos && out.find("; 1 are waiting") != std::string::npos;
  }));
  silent.EndSending();
  waiting.EndSending();
  EXPECT_TRUE(WaitUntil([&] { return Found().empty(); }));
  EXPECT_EQ(servertest::CountOf(NewErr(), "ERROR"), 0U);
}

TEST_F(DoctorTest, ClientWhoseTextIsBeingSpokenIsNotSilent) {
  Start();
  stubs().Hold("aplay");
  const Client client(stage().TextPort());
  client.Send("Guten Tag");
  AwaitCalls("aplay", 1);
  const Client silent(stage().DataPort());
  // When the other one is told, this one would be, too.
  std::string out;
  ASSERT_TRUE(WaitUntil([&] {
    out = Doctor({"--no-probe"}).Out;
    return out.find("(data)") != std::string::npos;
  }));
  EXPECT_THAT(out, Not(HasSubstr("(text)")));
  stubs().Release("aplay");
  EXPECT_EQ(client.ReceiveAll(), servertest::kReceived);
}

// ---- Configuration and program ----

TEST_F(DoctorTest, ChangedConfigurationIsTold) {
  Start();
  stage().Write(kConfig, Content(Path(kConfig)) + "# a comment\n");
  ExpectOnly("configuration-changed", kConfig);
}

TEST_F(DoctorTest, ChangedDocumentIsTold) {
  Start();
  stage().Write("announcements/station.xml", Content(Path("announcements/station.xml")) + "\n");
  ExpectOnly("document-changed", "announcements/station.xml");
}

/// As a package puts its files there: with the time of their making.
TEST_F(DoctorTest, FileWithAnOldDateThatCameAfterTheStartIsTold) {
  Start();
  fs::copy_file(Path("announcements/station.xml"), Path("new.xml"));
  MakeOlder(Path("new.xml"));
  fs::rename(Path("new.xml"), Path("announcements/station.xml"));
  ExpectOnly("document-changed", "announcements/station.xml");
}

TEST_F(DoctorTest, ChangedCatalogueIsTold) {
  Start();
  stage().Write("messages/errEN.csv", Content(Path("messages/errEN.csv")) + "\n");
  ExpectOnly("catalogue-changed", "messages/errEN.csv");
}

TEST_F(DoctorTest, ChangedLexiconIsInUseAtOnce) {
  Start();
  const fs::path lexicon = fs::directory_iterator(Path("lexidata/de"))->path();
  std::ofstream(lexicon, std::ios::app) << "# a comment\n";
  EXPECT_THAT(Found(), IsEmpty());
}

TEST_F(DoctorTest, ReplacedProgramIsTold) {
  Start();
  fs::copy_file(stage().Executable(), Path("new"));
  fs::rename(Path("new"), stage().Executable());
  ExpectOnly("program-replaced", "ka-tts-server");
}

TEST_F(DoctorTest, FilesThatChangedBeforeTheStartAreNotTold) {
  stage().Write(kConfig, Content(Path(kConfig)) + "# a comment\n");
  Start();
  EXPECT_THAT(Found(), IsEmpty());
}

// ---- The list of findings ----

TEST(DoctorFindings, EachHasItsTextsInBothLanguages) {
  for (const tools::Complaint* complaint : tools::Complaints()) {
    const tools::Rule& rule = complaint->What;
    for (const tools::Bilingual& text : {rule.Title, rule.Problem, rule.Effect, rule.Advice,
                                         rule.Explanation, complaint->Repair}) {
      EXPECT_FALSE(text.German.empty()) << rule.Id;
      EXPECT_FALSE(text.English.empty()) << rule.Id;
    }
  }
}

/// Each finding has a test that provokes it.
TEST(DoctorFindings, EachIsProvokedByATest) {
  std::string tests;
  for (const char* name : {"doctor_findings_test.cpp", "doctor_sound_test.cpp"})
    tests += support::ReadFile((Project() / "tests" / "tools" / name).string());
  for (const tools::Complaint* complaint : tools::Complaints())
    EXPECT_THAT(tests, HasSubstr(complaint->What.Id)) << complaint->What.Id;
}

TEST(DoctorFindings, PageInTheDocumentationIsTheOneOfTheProgram) {
  const Ended ended = RunTool({"doctor", "--findings", "--markdown"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Out, support::ReadFile((Project() / "docs" / "doctor.md").string()))
      << "write it by: ka-tts doctor --findings --markdown --lang en >docs/doctor.md";
}

TEST(DoctorFindings, OneIsExplained) {
  const Ended ended = RunTool({"doctor", "--explain", "port-shared"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, AllOf(StartsWith("port-shared (error)\n"), HasSubstr("SO_REUSEPORT"),
                               HasSubstr("--repair: nothing")));
  EXPECT_EQ(RunTool({"doctor", "--explain", "nonsense"}).Status, 2);
}

TEST(DoctorFindings, AreListed) {
  const Ended ended = RunTool({"doctor", "--findings"});
  EXPECT_EQ(std::count(ended.Out.begin(), ended.Out.end(), '\n'),
            static_cast<std::ptrdiff_t>(tools::Complaints().size()));
}

}  // namespace

}  // namespace toolstest
