// What must not bring the server down, block it or leak out of it.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kNotGenerated = "Die Meldung konnte nicht generiert werden!!!\n";
constexpr const char* kNoBackup = "Backup-File nicht vorhanden\n";

class Hardening : public ServerTest {
 protected:
  /// Whether the kernel has forgotten the connection of the client at `clientPort`.
  bool ConnectionIsGone(unsigned port, unsigned clientPort) const {
    const std::vector<TcpSocket> sockets = TcpSockets(Pid());
    return std::none_of(sockets.begin(), sockets.end(), [&](const TcpSocket& socket) {
      return socket.Port == port && socket.PeerPort == clientPort;
    });
  }
  std::string StoredText(const std::string& name) const {
    return Content(stage().Store() + "/" + name);
  }
  void ExpectAllPortsServe() const {
    EXPECT_EQ(AskText("///"), kReceived);
    EXPECT_EQ(AskData(Block({"ICE 99"})), kReceived);
    EXPECT_EQ(AskCommand("none"), kReceived);
    EXPECT_EQ(StoredText("de0"), "DE Zug ICE 99");
  }
};

// --- clients ------------------------------------------------------------------------------------

// A client that has ended its side before it vanishes makes the answer a broken pipe, which would
// end the process.
TEST_F(Hardening, VanishedClientCostsOneReport) {
  Start();
  stubs().Hold("speak");
  Client client(stage().TextPort());
  const unsigned clientPort = client.LocalPort();
  client.Send("Hallo");
  client.EndSending();
  AwaitCalls("speak", 1);
  client.Vanish();
  ASSERT_TRUE(WaitUntil([&] { return ConnectionIsGone(stage().TextPort(), clientPort); }));
  stubs().Release("speak");
  ExpectAllPortsServe();
  const std::string reports = MaskTimes(NewErr());
  EXPECT_EQ(reports,
            PortReport(stage().TextPort(), "ERROR answering client \n") + kNoBackup + kNoBackup);
}

TEST_F(Hardening, ClientThatResetsAtOnceIsHandledAsAnEmptyText) {
  Start();
  for (int round = 0; round < 20; ++round)
    Client(stage().CommandPort()).Vanish();
  ExpectAllPortsServe();
  EXPECT_TRUE(server().IsRunning());
}

// Linux turns a close with unread bytes into a reset, which could overtake the answer.
TEST_F(Hardening, ClientThatSentTooMuchSeesTheAnswerAndAnOrderlyEnd) {
  Start();
  stubs().Hold("speak");
  const Client client(stage().TextPort());
  client.Send(std::string(30000, 'a'));
  AwaitCalls("speak", 1);
  ASSERT_TRUE(WaitUntil([&] { return client.IsDelivered(); }));
  stubs().Release("speak");
  EXPECT_EQ(client.ReceiveAll(), kReceived) << "and no reset, which would throw";
}

TEST_F(Hardening, SilentClientIsProbedAfterThirtySeconds) {
  Start();
  const Client silent(stage().TextPort());
  const auto probed = [&] {
    const std::vector<TcpSocket> sockets = TcpSockets(Pid());
    return std::any_of(sockets.begin(), sockets.end(), [&](const TcpSocket& socket) {
      return socket.Port == stage().TextPort() && socket.PeerPort == silent.LocalPort() &&
             socket.Timer == TcpSocket::kKeepAliveTimer && socket.Expires <= 3000;
    });
  };
  EXPECT_TRUE(WaitUntil(probed));
  EXPECT_FALSE(silent.HasAnswer()) << "as long as it lives it holds the port";
}

// The first flight of a connection is ten segments; a read that took what has arrived so far would
// cut the block after 5 KB.
TEST_F(Hardening, BlockOfEightKilobytesInSmallSegmentsIsReadWhole) {
  Start();
  constexpr int kRounds = 20;
  const std::string name(8000, 'x');
  for (int round = 0; round < kRounds; ++round) {
    const Client client(stage().DataPort(), 536);
    client.Send(Block({std::to_string(round) + name}));
    EXPECT_EQ(client.ReceiveAll(), kReceived);
    EXPECT_EQ(StoredText("de0"), "DE Zug " + std::to_string(round) + name) << round;
  }
  EXPECT_EQ(CountOf(NewOut(), "Meldung OK"), std::size_t{kRounds});
}

// --- descriptors and ports ----------------------------------------------------------------------

TEST_F(Hardening, ChildrenInheritTheStandardDescriptorsOnly) {
  const std::string list = "/bin/ls /proc/self/fd >>'" + stage().Beside("descriptors") + "'";
  stubs().AddAt(stage().EngineDir() + "/speak", "speak", list);
  stubs().AddAt(stage().EngineDir() + "/save", "save", list);
  stubs().Add("aplay", list);
  Start();
  const Client silentCommand(stage().CommandPort());
  AskText("Hallo");
  AskData(Block({"ICE 1"}));
  // The fourth is the listing's own look at the directory.
  EXPECT_EQ(Content(stage().Beside("descriptors")), "0\n1\n2\n3\n0\n1\n2\n3\n0\n1\n2\n3\n");
}

TEST_F(Hardening, ChildrenDieOfABrokenPipeAsUsual) {
  stubs().AddAt(stage().EngineDir() + "/speak", "speak",
                "/bin/grep SigIgn /proc/self/status >'" + stage().Beside("ignored") + "'");
  Start();
  AskText("Hallo");
  const std::string line = Content(stage().Beside("ignored"));
  ASSERT_THAT(line, HasSubstr("SigIgn:"));
  const unsigned long ignored = std::stoul(line.substr(line.find(':') + 1), nullptr, 16);
  EXPECT_EQ(ignored & (1UL << (SIGPIPE - 1)), 0U) << line;
}

TEST_F(Hardening, ListenerWithoutItsPortOpensNoneToTheNetwork) {
  const kaDescriptor occupant = OccupyPort(stage().DataPort());
  ASSERT_TRUE(occupant.IsValid());
  StartWithoutPorts();
  ASSERT_TRUE(WaitUntil([this] { return ListeningSockets(Pid()).size() == 3; }));
  for (const TcpSocket& socket : ListeningSockets(Pid())) {
    const bool own = socket.Port == stage().TextPort() || socket.Port == stage().CommandPort();
    EXPECT_EQ(socket.Address, own ? kAnyAddress : kLoopbackAddress) << socket.Port;
  }
  EXPECT_EQ(MaskTimes(Err()), PortReport(stage().DataPort(), "ERROR on binding\n"));
}

TEST_F(Hardening, SixtyConnectionsAfterARestartAreAllAnswered) {
  // As the shipped script does, but into files of its own: the copy in the background inherits what
  // the old server left open.
  const std::string output = stage().Beside("restarted");
  stubs().AddAt(stage().WorkDir() + "/restart", "restart",
                "( while [ -e /proc/$1/exe ]; do /bin/sleep 0.02; done\n"
                "  exec \"$2\" >'" +
                    output + "' 2>&1 ) &");
  Start();
  AskCommand("!restart");
  EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0");
  ASSERT_TRUE(WaitUntil([&] { return Content(output).ends_with(kReadyMessage); }))
      << Content(output);
  for (const auto port : {stage().TextPort(), stage().DataPort(), stage().CommandPort()}) {
    ASSERT_TRUE(WaitUntil([&] { return AnyoneListensOn(port); })) << Content(output);
  }
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(AskText("///"), kReceived) << round;
    ASSERT_EQ(AskData("no block"), kReceived) << round;
    ASSERT_EQ(AskCommand("none"), kReceived) << round;
  }
  EXPECT_THAT(Content(output), HasSubstr("Meldung Nr. 20 --- Die Meldung konnte nicht"));
}

// --- no descriptors left ------------------------------------------------------------------------

class NoDescriptorsLeft : public Hardening {
 protected:
  static void SetDescriptorLimit(pid_t pid, rlim_t count) {
    rlimit limit{};
    ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, nullptr, &limit), 0);
    limit.rlim_cur = count;
    ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, &limit, nullptr), 0);
  }
  /// Seconds that so many failures in a row must take at least: pauses from 10 ms to 1 s.
  static double LeastDuration(std::size_t failures) {
    double sum = 0;
    double pause = 0.010;
    for (std::size_t count = 1; count < failures; ++count) {
      sum += pause;
      pause = std::min(2 * pause, 1.0);
    }
    return sum;
  }
};

TEST_F(NoDescriptorsLeft, FailedAcceptsPauseInsteadOfSpinning) {
  Start();
  const auto start = std::chrono::steady_clock::now();
  const double processorBefore = ProcessorSeconds(Pid());
  const std::string report = PortReport(stage().TextPort(), "ERROR on accept\n") +
                             PortReport(stage().TextPort(), "ERROR reading from socket \n") +
                             PortReport(stage().TextPort(), "ERROR answering client \n");
  SetDescriptorLimit(Pid(), static_cast<rlim_t>(LowestFreeDescriptor(Pid())));
  // The accept that was waiting has its descriptor already.
  EXPECT_EQ(AskText("///"), kReceived);
  const Client client(stage().TextPort());
  client.Send("Hallo");
  ASSERT_TRUE(WaitUntil([&] { return CountOf(MaskTimes(NewErr()), report) >= 8; })) << NewErr();

  const std::size_t failures = CountOf(MaskTimes(NewErr()), report);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(elapsed.count(), LeastDuration(failures)) << failures << " failures";
  EXPECT_LT(ProcessorSeconds(Pid()) - processorBefore, elapsed.count() / 2);

  SetDescriptorLimit(Pid(), 256);
  EXPECT_EQ(client.ReceiveAll(), kReceived) << "the client was waiting all the time";
  EXPECT_THAT(stubs().CallsOf("speak"), ElementsAre("speak [Hallo]"));
  ExpectAllPortsServe();
}

// --- documents from the network -----------------------------------------------------------------

TEST_F(Hardening, ExternalEntityOfABlockReadsAsNothing) {
  stage().Write("geheim.xml", "<row zug=\"GEHEIM\"/>");
  Start();
  AskData("<!DOCTYPE rbl [<!ENTITY geheim SYSTEM \"" + stage().Dir() +
          "/geheim.xml\">]><rbl><row zug=\"ICE 1\"/>&geheim;</rbl>");
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 1 --- Meldung OK \n"));
  EXPECT_THAT(Entries(stage().Store()), ElementsAre("de0", "de0.wav", "en0", "en0.wav"));
  EXPECT_EQ(StoredText("de0"), "DE Zug ICE 1");
}

TEST_F(Hardening, ExternalDeclarationsOfABlockAreNotRead) {
  stage().Write("geheim.dtd", "<!ENTITY geheim \"<row zug='GEHEIM'/>\">");
  Start();
  const std::string path = stage().Dir() + "/geheim.dtd";
  const std::string rows = "<rbl><row zug=\"ICE 1\"/>&geheim;</rbl>";
  AskData("<!DOCTYPE rbl [<!ENTITY % more SYSTEM \"" + path + "\"> %more;]>" + rows);
  AskData("<!DOCTYPE rbl SYSTEM \"" + path + "\">" + rows);
  for (const std::string& name : Entries(stage().Store())) {
    EXPECT_THAT(StoredText(name), Not(HasSubstr("GEHEIM"))) << name;
  }
  ExpectAllPortsServe();
}

// A value of `count` references to an entity of `size` bytes.
std::string BlockWithEntity(std::size_t size, int count) {
  std::string value;
  for (int reference = 0; reference < count; ++reference)
    value += "&a;";
  return "<!DOCTYPE rbl [<!ENTITY a \"" + std::string(size, 'x') + "\">]>" + Block({value});
}

// Entities a, b, ...: each one ten times the one before.
std::string BlockWithEntitiesOfEntities(int depth) {
  std::string block = "<!DOCTYPE rbl [<!ENTITY a \"0123456789\">";
  for (int level = 1; level < depth; ++level) {
    const char before = static_cast<char>('a' + level - 1);
    block += std::string("<!ENTITY ") + static_cast<char>('a' + level) + " \"";
    for (int count = 0; count < 10; ++count)
      block += std::string("&") + before + ";";
    block += "\">";
  }
  return block + "]>" + Block({std::string("&") + static_cast<char>('a' + depth - 1) + ";"});
}

TEST_F(Hardening, EntitiesOfModestSizeAreExpanded) {
  Start();
  AskData(BlockWithEntity(4000, 50));
  EXPECT_EQ(StoredText("de0"), "DE Zug " + std::string(200000, 'x'));
  AskData(BlockWithEntitiesOfEntities(2));
  EXPECT_EQ(StoredText("de0").size(), std::string("DE Zug ").size() + 100);
}

TEST_F(Hardening, EntityBombIsNoBlock) {
  Start();
  // The first two are small enough for the XML library's own limits.
  EXPECT_EQ(AskData(BlockWithEntity(4000, 100)), kReceived);
  EXPECT_EQ(AskData(BlockWithEntity(4000, 2000)), kReceived);
  EXPECT_EQ(AskData(BlockWithEntitiesOfEntities(9)), kReceived);
  EXPECT_EQ(AskData(BlockWithEntitiesOfEntities(20)), kReceived);
  EXPECT_EQ(CountOf(NewErr(), kNotGenerated), 4U);
  EXPECT_THAT(Entries(stage().Store()), IsEmpty());
  ExpectAllPortsServe();
}

TEST_F(Hardening, DeepBlockIsNoBlock) {
  Start();
  std::string deep;
  for (int level = 0; level < 3900; ++level)
    deep += "<a>";
  EXPECT_EQ(AskData(deep), kReceived);
  ExpectAllPortsServe();
}

// --- exceptions ---------------------------------------------------------------------------------

TEST_F(Hardening, CaseBeyondTheValueEndsOneBlockAndNotTheServer) {
  const std::string document = Content(stage().Dir() + "/station.xml");
  const std::string mark = "<Case id=\"Express\"";
  std::string changed = document;
  changed.insert(changed.find(mark),
                 "<Case id=\"Throws\" substr=\"zug\" type=\"string\" operator=\"eq\" begin=\"4\""
                 " end=\"-1\" value=\"1\"/>");
  stage().WriteDocument(changed);
  Start();
  EXPECT_EQ(AskData(Block({"RE"})), kReceived);
  EXPECT_THAT(MaskTimes(NewErr()), testing::MatchesRegex(PortReport(
                                       stage().DataPort(), "ERROR processing message: [^\n]+\n")));
  EXPECT_THAT(NewOut(), Not(HasSubstr("Meldung Nr. 1")));
  EXPECT_THAT(Entries(stage().Store()), IsEmpty());
  ExpectAllPortsServe();
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 2 --- Meldung OK \n"));
}

// --- standard streams ---------------------------------------------------------------------------

class Streams : public Hardening {
 protected:
  struct Pipe {
    kaDescriptor reader;
    kaDescriptor writer;
  };
  static Pipe MakePipe() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    return {kaDescriptor(ends[0]), kaDescriptor(ends[1])};
  }
  void StartWith(int out, int err) {
    stage().WriteConfiguration();
    Plan().Out = out;
    Plan().Err = err;
    process_ = std::make_unique<ServerProcess>(Plan());
    for (const auto port : {stage().TextPort(), stage().DataPort(), stage().CommandPort()}) {
      ASSERT_TRUE(WaitUntil([&] { return ListensOn(process_->Pid(), port); }));
    }
  }
  static int PendingBytes(const kaDescriptor& reader) {
    int count = 0;
    ioctl(reader.Get(), FIONREAD, &count);
    return count;
  }
  /// Reads until the pipe has given `text`, or gives nothing any more.
  static std::string ReadThrough(const kaDescriptor& reader, const std::string& text) {
    std::string all;
    std::array<char, 4096> buffer{};
    while (all.find(text) == std::string::npos) {
      if (!WaitUntil([&] { return PendingBytes(reader) > 0; })) break;
      const ssize_t count = read(reader.Get(), buffer.data(), buffer.size());
      if (count <= 0) break;
      all.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return all;
  }
  ServerProcess& process() { return *process_; }

 private:
  std::unique_ptr<ServerProcess> process_;
};

TEST_F(Streams, ClosedStandardDescriptorsAreNeverTakenBySockets) {
  StartWith(-1, -1);
  for (const int descriptor : {0, 1, 2}) {
    EXPECT_EQ(DescriptorTarget(process().Pid(), descriptor), "/dev/null") << descriptor;
  }
  ExpectAllPortsServe();
  EXPECT_THAT(stubs().CallsOf("save").size(), 2U);
}

TEST_F(Streams, ReaderThatWentAwayDoesNotEndTheServer) {
  Pipe out = MakePipe();
  Pipe err = MakePipe();
  StartWith(out.writer.Get(), err.writer.Get());
  ReadThrough(out.reader, kReadyMessage);
  for (kaDescriptor* end : {&out.reader, &out.writer, &err.reader, &err.writer})
    end->Close();
  ExpectAllPortsServe();
  ExpectAllPortsServe();
  EXPECT_TRUE(process().IsRunning());
}

TEST_F(Streams, FullOutputPipeBlocksTheThreadThatPrintsAndLosesNothing) {
  Pipe out = MakePipe();
  const kaDescriptor err(open("/dev/null", O_WRONLY | O_CLOEXEC));
  StartWith(out.writer.Get(), err.Get());
  ReadThrough(out.reader, kReadyMessage);
  const int capacity = fcntl(out.writer.Get(), F_SETPIPE_SZ, 4096);
  ASSERT_GT(capacity, 0);

  const std::string list(static_cast<std::size_t>(capacity) + 3000, 'x');
  const Client blocked(stage().CommandPort());
  blocked.Send(list);
  ASSERT_TRUE(WaitUntil([&] { return PendingBytes(out.reader) == capacity; }));
  EXPECT_EQ(AskText("///"), kReceived) << "a thread that prints nothing goes on";
  EXPECT_FALSE(blocked.HasAnswer());
  const std::string report = "new cmd: " + list + " 0\n";
  EXPECT_EQ(ReadThrough(out.reader, report), report);
  EXPECT_EQ(blocked.ReceiveAll(), kReceived);
}

TEST_F(Streams, EveryLineIsInThePipeWhenTheClientIsAnswered) {
  Pipe out = MakePipe();
  const kaDescriptor err(open("/dev/null", O_WRONLY | O_CLOEXEC));
  StartWith(out.writer.Get(), err.Get());
  ReadThrough(out.reader, kReadyMessage);
  AskCommand("none");
  EXPECT_EQ(ReadThrough(out.reader, "\n"), "new cmd: none 0\n");
}

}  // namespace

}  // namespace servertest
