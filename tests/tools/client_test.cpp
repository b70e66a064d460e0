// The client commands against a server that writes down what it gets.

#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "demo_station.h"
#include "message_table.h"
#include "program.h"
#include "recording_server.h"
#include "support/loopback.h"

namespace toolstest {

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using Arguments = std::vector<std::string>;

/// A name that no resolver asks anybody about.
constexpr const char* kNoHost = "nobody..invalid";
const std::string kBlock = "<rbl><row zug=\"ICE\"/></rbl>";

/// Runs `ka-tts` with `input` on standard input.
Ended RunWithInput(const std::string& input, const Arguments& arguments) {
  const support::TempDir dir;
  const std::string file = dir.Write("input", input);
  Arguments all = {"-c", "exec \"$@\" <\"$0\"", file, ToolPath()};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunToolAt("/bin/sh", all);
}

Ended RunOn(const RecordingServer& server, Arguments arguments) {
  arguments.insert(arguments.begin() + 1, {"--port", server.Port()});
  return RunTool(arguments);
}

/// As the table has it: texts and blocks come by standard input.
Ended RunRow(const MessageCase& row, const RecordingServer& server) {
  Arguments arguments = {row.Command, "--port", server.Port()};
  if (row.bRaw) arguments.push_back("--raw");
  arguments.insert(arguments.end(), row.Names.begin(), row.Names.end());
  return RunWithInput(row.Input, arguments);
}

TEST(Client, SendsEachMessageByOneWrite) {
  const RecordingServer server;
  std::size_t count = 0;
  for (const MessageCase& row : MessageTable()) {
    if (!row.Refused.empty()) continue;
    const Ended ended = RunRow(row, server);
    EXPECT_EQ(ended.Status, 0) << row.Row << ended.Err;
    EXPECT_EQ(ended.Out, "received\n") << row.Row;
    const Recorded recorded = server.Await(++count).back();
    EXPECT_EQ(recorded.FirstRead, row.Sent) << row.Row;
    EXPECT_EQ(recorded.All, row.Sent) << row.Row;
    EXPECT_EQ(recorded.Segments, 1U) << row.Row;
  }
  EXPECT_GT(count, 20U);
}

TEST(Client, RefusesWithOneAndConnectsToNobody) {
  const RecordingServer server;
  for (const char* command : {"say", "urgent", "send"}) {
    const Ended ended = RunWithInput("a///b", {command, "--port", server.Port()});
    EXPECT_EQ(ended.Status, 1) << command;
    EXPECT_EQ(ended.Out, "") << command;
    EXPECT_EQ(ended.Err, "ka-tts " + std::string(command) +
                             ": not sent: \"///\", where the message ends for the server\n");
  }
  EXPECT_EQ(RunOn(server, {"play", "!stop"}).Status, 1);
  EXPECT_EQ(RunOn(server, {"bell"}).Status, 0);
  EXPECT_EQ(server.Await(1).size(), 1U) << "the bell alone";
}

TEST(Client, SpeaksGerman) {
  EXPECT_EQ(RunTool({"say", "--lang", "de", "5 $"}).Err,
            "ka-tts say: nicht gesendet: enthält '$', das die Shell des Servers deutet; mit --raw "
            "geht es trotzdem\n");
  EXPECT_THAT(RunTool({"send", "--help", "--lang", "de"}).Out, HasSubstr("Datenblöcke"));
}

// ---- Where the message comes from ----

TEST(ClientInput, IsTheArgument) {
  const RecordingServer server;
  EXPECT_EQ(RunOn(server, {"say", "Der Zug fällt aus.\n"}).Status, 0);
  EXPECT_EQ(server.Await(1).back().All, "Der Zug fällt aus.");
  EXPECT_EQ(RunOn(server, {"urgent", ""}).Status, 0);
  EXPECT_EQ(server.Await(2).back().All, "!u") << "an empty argument is a text";
  EXPECT_EQ(RunOn(server, {"say", "--", "-5 Grad"}).Status, 0);
  EXPECT_EQ(server.Await(3).back().All, "-5 Grad");
}

TEST(ClientInput, TextMayBeTheNameOfACommand) {
  const RecordingServer server;
  EXPECT_EQ(RunOn(server, {"say", "stop"}).Status, 0);
  EXPECT_EQ(server.Await(1).back().All, "stop");
}

TEST(ClientInput, IsStandardInputForADash) {
  const RecordingServer server;
  const std::string port = server.Port();
  EXPECT_EQ(RunWithInput("Hallo\n", {"say", "--port", port, "-"}).Status, 0);
  EXPECT_EQ(server.Await(1).back().All, "Hallo");
  EXPECT_EQ(RunWithInput(kBlock, {"send", "--port", port, "-"}).Out, "received\n");
  EXPECT_EQ(server.Await(2).back().All, kBlock);
  EXPECT_EQ(RunWithInput("de0,en0\n", {"play", "--port", port, "-"}).Status, 0);
  EXPECT_EQ(server.Await(3).back().All, "de0,en0");
  EXPECT_EQ(RunWithInput("de0\n", {"play", "--port", port}).Status, 0);
  EXPECT_EQ(server.Await(4).back().All, "de0");
}

TEST(ClientInput, WithoutEndIsRefusedAllTheSame) {
  const Ended ended = RunToolAt("/bin/sh", {"-c", "exec \"$0\" say </dev/zero", ToolPath()});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Err, HasSubstr("longer than 11999 bytes"));
}

TEST(ClientInput, ThatCannotBeReadEndsWithTwo) {
  const Ended ended = RunTool({"send", "/nonexistent.xml"});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_EQ(ended.Err, "ka-tts: /nonexistent.xml: cannot be read\n");
}

// ---- Where it goes ----

TEST(ClientEndpoint, IsTakenFromTheStationsConfiguration) {
  const RecordingServer text, data, command;
  const DemoStation demo;
  demo.Replace("kaconfig/kaTtsServer.kacfg", "\"5701\"", "\"" + text.Port() + "\"");
  demo.Replace("kaconfig/kaTtsServer.kacfg", "\"5702\"", "\"" + data.Port() + "\"");
  demo.Replace("kaconfig/kaTtsServer.kacfg", "\"5703\"", "\"" + command.Port() + "\"");
  const Arguments station = {"--station", demo.Dir()};
  EXPECT_EQ(RunTool({"say", "Hallo", "--station", demo.Dir()}).Status, 0);
  EXPECT_EQ(RunTool({"urgent", "Hallo", "--station", demo.Dir()}).Status, 0);
  EXPECT_EQ(RunWithInput(kBlock, {"send", "--station", demo.Dir()}).Status, 0);
  for (const char* name : {"bell", "stop", "terminate", "restart"})
    EXPECT_EQ(RunTool({name, "--station", demo.Dir()}).Status, 0);
  EXPECT_EQ(RunTool({"play", "de0", "--station", demo.Dir()}).Status, 0);
  EXPECT_EQ(text.Await(2).size(), 2U);
  EXPECT_EQ(data.Await(1).size(), 1U);
  EXPECT_EQ(command.Await(5).size(), 5U);
}

TEST(ClientEndpoint, ConfiguredPortThatTheServerRefusesIsItsDefaultPort) {
  const DemoStation demo;
  demo.Replace("kaconfig/kaTtsServer.kacfg", "\"5703\"", "\"65535\"");
  EXPECT_THAT(RunTool({"bell", "--host", kNoHost, "--station", demo.Dir()}).Err,
              HasSubstr(" nobody..invalid:50000: "));
}

TEST(ClientEndpoint, WithoutAStationIsTheShippedPort) {
  EXPECT_THAT(RunTool({"say", "x", "--host", kNoHost}).Err, HasSubstr(" nobody..invalid:5701: "));
  EXPECT_THAT(RunWithInput(kBlock, {"send", "--host", kNoHost}).Err,
              HasSubstr(" nobody..invalid:5702: "));
  EXPECT_THAT(RunTool({"bell", "--host", kNoHost}).Err, HasSubstr(" nobody..invalid:5703: "));
}

TEST(ClientEndpoint, NamedStationThatIsNoneEndsWithTwo) {
  const support::TempDir empty;
  const Ended ended = RunTool({"bell", "--station", empty.Path()});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("--station names the directory of the station"));
}

TEST(ClientEndpoint, MayBeANameOrAnAddressOfEitherFamily) {
  const RecordingServer server;
  EXPECT_EQ(RunOn(server, {"bell", "--host", "localhost"}).Status, 0);
  EXPECT_EQ(RunOn(server, {"bell", "--host", "127.0.0.1"}).Status, 0);
  EXPECT_EQ(RunTool({"bell", "--host", kNoHost}).Status, 2);
  const std::string ipv6 = support::ReadFile("/proc/net/if_inet6");
  if (ipv6.find("00000000000000000000000000000001") == std::string::npos)
    GTEST_SKIP() << "no loopback of IPv6";
  const RecordingServer sixth({"received\n"}, "::1");
  EXPECT_EQ(RunOn(sixth, {"bell", "--host", "::1"}).Status, 0);
  EXPECT_EQ(sixth.Await(1).back().All, "!bell");
}

// ---- How it ends ----

TEST(ClientAnswer, MayComeInPieces) {
  const RecordingServer server({"rece", "ived", "\n"});
  EXPECT_EQ(RunOn(server, {"bell"}).Status, 0);
}

TEST(ClientAnswer, ThatDoesNotComeEndsWithThree) {
  const RecordingServer server(RecordingServer::Pieces{});
  const Ended ended = RunOn(server, {"say", "--timeout", "0.2", "Hallo"});
  EXPECT_EQ(ended.Status, 3);
  EXPECT_EQ(ended.Err,
            "ka-tts say: sent, but without an answer after 0.2 s; the server may still carry the "
            "message out\n");
  EXPECT_EQ(server.Await(1).back().All, "Hallo");
}

TEST(ClientAnswer, ThatIsCutShortEndsWithThree) {
  RecordingServer server({"recei"});
  server.HangUp();
  const Ended ended = RunOn(server, {"bell"});
  EXPECT_EQ(ended.Status, 3);
  EXPECT_THAT(ended.Err, HasSubstr("the connection ended without an answer"));
}

TEST(ClientAnswer, OfAnotherProgramEndsWithThree) {
  for (const char* answer : {"SSH-2.0-x\r\n", "Received\n"}) {
    const RecordingServer server({answer});
    const Ended ended = RunOn(server, {"bell"});
    EXPECT_EQ(ended.Status, 3);
    EXPECT_THAT(ended.Err, HasSubstr("is it the right port?"));
  }
}

TEST(ClientAnswer, OfAServerThatEndsMayBeMissing) {
  for (const char* command : {"terminate", "restart"}) {
    RecordingServer server(RecordingServer::Pieces{});
    server.HangUp();
    const Ended ended = RunOn(server, {command});
    EXPECT_EQ(ended.Status, 0) << command;
    EXPECT_EQ(ended.Out, "the server has ended\n") << command;
  }
}

TEST(ClientAnswer, OfAServerThatEndsIsAwaitedForASecondAtMost) {
  for (const char* command : {"terminate", "restart"}) {
    const RecordingServer server(RecordingServer::Pieces{});
    const Ended ended = RunOn(server, {command, "--timeout", "600"});
    EXPECT_EQ(ended.Status, 3) << command;
    EXPECT_THAT(ended.Err, HasSubstr("after 1 s")) << command;
  }
}

TEST(ClientConnection, ThatNobodyTakesEndsWithTwo) {
  const Ended refused = RunTool({"bell", "--port", std::to_string(support::FreePort())});
  EXPECT_EQ(refused.Status, 2);
  EXPECT_THAT(refused.Err, HasSubstr("Connection refused"));
  const FullPort full;
  const Ended late = RunTool({"bell", "--timeout", "0.2", "--port", full.Port()});
  EXPECT_EQ(late.Status, 2);
  EXPECT_THAT(late.Err, HasSubstr("Connection timed out"));
}

TEST(ClientUsage, ThatIsBadEndsWithTwo) {
  const std::vector<Arguments> bad = {{"say", "zwei", "Worte"},  {"bell", "x"},
                                      {"say", "--port", "0"},    {"say", "--port", "65536"},
                                      {"say", "--timeout", "0"}, {"send", "--repeat", "0"},
                                      {"send", "--every", "-1"}, {"play", "--raw", "a"}};
  for (const Arguments& arguments : bad)
    EXPECT_EQ(RunTool(arguments).Status, 2) << ::testing::PrintToString(arguments);
}

// ---- Several blocks ----

TEST(ClientBlocks, AreSentInTheirOrderUnderTheirNames) {
  const RecordingServer server;
  const support::TempDir dir;
  const std::string one = dir.Write("one.xml", "<one/>\n");
  const std::string two = dir.Write("two.xml", "<two/>\n");
  const Ended ended = RunOn(server, {"send", one, two, "--repeat", "2", "--every", "0.05"});
  EXPECT_EQ(ended.Status, 0);
  const std::string round = one + ": received\n" + two + ": received\n";
  EXPECT_EQ(ended.Out, round + round);
  std::string all;
  for (const Recorded& recorded : server.Await(4))
    all += recorded.All;
  EXPECT_EQ(all, "<one/><two/><one/><two/>");
}

TEST(ClientBlocks, NoneIsSentIfOneIsRefused) {
  const RecordingServer server;
  const support::TempDir dir;
  const std::string good = dir.Write("good.xml", kBlock);
  const std::string bad = dir.Write("bad.xml", "<rbl>");
  const Ended ended = RunOn(server, {"send", good, bad});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Err, HasSubstr(bad + ": not sent: is no XML"));
  EXPECT_EQ(RunOn(server, {"bell"}).Status, 0);
  EXPECT_EQ(server.Await(1).front().All, "!bell");
}

TEST(ClientBlocks, EndWithTheFirstThatIsNotAnswered) {
  RecordingServer server(RecordingServer::Pieces{});
  server.HangUp();
  const support::TempDir dir;
  const std::string block = dir.Write("block.xml", kBlock);
  EXPECT_EQ(RunOn(server, {"send", block, block, "--repeat", "3"}).Status, 3);
  EXPECT_EQ(server.Await(1).size(), 1U);
}

TEST(ClientBlocks, BeginAsFarApartAsAskedFor) {
  const RecordingServer server;
  const support::TempDir dir;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(
      RunOn(server, {"send", dir.Write("b.xml", kBlock), "--repeat", "3", "--every", "0.2"}).Status,
      0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(400));
}

// ---- For programs ----

TEST(ClientJson, HasTheResultOfEachMessage) {
  const RecordingServer server;
  const support::TempDir dir;
  const std::string file = dir.Write("b.xml", kBlock);
  const json result = json::parse(RunOn(server, {"send", "--json", "--repeat", "2", file}).Out);
  EXPECT_EQ(result.at("command"), "send");
  EXPECT_EQ(result.at("port"), std::stoi(server.Port()));
  EXPECT_EQ(result.at("status"), 0);
  ASSERT_EQ(result.at("messages").size(), 2U);
  EXPECT_EQ(result["messages"][1].at("name"), file);
  EXPECT_EQ(result["messages"][1].at("bytes"), kBlock.size());
  EXPECT_EQ(result["messages"][1].at("result"), "received");
  EXPECT_GE(result["messages"][1].at("seconds"), 0.0);
}

TEST(ClientJson, HasWhyAMessageWasNotDelivered) {
  const json refused = json::parse(RunTool({"say", "--json", "a///b"}).Out);
  EXPECT_EQ(refused.at("status"), 1);
  EXPECT_EQ(refused["messages"][0].at("result"), "refused");
  EXPECT_EQ(refused["messages"][0].at("reason"), "end-mark");

  const json unconnected =
      json::parse(RunTool({"bell", "--json", "--port", std::to_string(support::FreePort())}).Out);
  EXPECT_EQ(unconnected.at("status"), 2);
  EXPECT_EQ(unconnected["messages"][0].at("result"), "no-connection");

  const RecordingServer silent(RecordingServer::Pieces{});
  const json late = json::parse(RunOn(silent, {"bell", "--json", "--timeout", "0.1"}).Out);
  EXPECT_EQ(late.at("status"), 3);
  EXPECT_EQ(late["messages"][0].at("result"), "timeout");
}

}  // namespace

}  // namespace toolstest
