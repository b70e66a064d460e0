#ifndef KA_TESTS_SERVER_SERVER_FIXTURE_H
#define KA_TESTS_SERVER_SERVER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "process_info.h"
#include "server_process.h"
#include "stage.h"
#include "support/loopback.h"
#include "support/wait_until.h"

namespace servertest {

using support::Client;
using support::WaitUntil;

/// The thread sanitizer does not know the threads on which timers expire: a process that it watches
/// ends with the first one.
#if defined(__SANITIZE_THREAD__)
constexpr bool kTimersMayExpire = false;
#else
constexpr bool kTimersMayExpire = true;
#endif

/// The nine bytes that answer every message.
constexpr const char* kReceived = "received\n";

/// Sends one message and returns the answer. An empty message is a connection that says nothing and
/// ends its side.
std::string Ask(unsigned port, std::string_view text);

/// A staged server, started by the test and gone at its end. What it prints is kept in files.
class ServerTest : public testing::Test {
 protected:
  /// Text that the end of every start-up prints, with the stage's catalogues.
  static constexpr const char* kReadyMessage = "ka-TTS-Server: Dienst bereit.\n\n";

  ServerTest();

  void TearDown() override;

  /// Starts the server and waits until all three ports listen and start-up is over.
  void Start();
  /// Starts it and waits for the end of start-up only.
  void StartWithoutPorts();
  /// Starts it and waits for nothing.
  void Launch();
  /// How the next start goes; a test may change it.
  servertest::Launch& Plan() { return plan_; }

  Stage& stage() { return stage_; }
  const Stage& stage() const { return stage_; }
  StubBin& stubs() { return stage_.Stubs(); }
  ServerProcess& server() { return *server_; }
  pid_t Pid() const { return server_->Pid(); }

  /// Everything printed so far.
  std::string Out() const;
  std::string Err() const;
  /// What was printed after Start had returned.
  std::string NewOut() const { return Out().substr(outAtStart_); }
  std::string NewErr() const { return Err().substr(errAtStart_); }

  std::string AskText(std::string_view text) const { return Ask(stage_.TextPort(), text); }
  std::string AskData(std::string_view text) const { return Ask(stage_.DataPort(), text); }
  std::string AskCommand(std::string_view text) const { return Ask(stage_.CommandPort(), text); }

  /// Sends "!terminate" and returns how the process ended.
  std::string Terminate();

  /// Waits until `name` was called `count` times in all.
  void AwaitCalls(const std::string& name, std::size_t count);
  /// Waits until standard error holds `text`.
  void AwaitErr(const std::string& text);

  /// The whole file below the server's root, "" if there is none.
  std::string Content(const std::string& path) const { return support::ReadFile(path); }
  /// Names of a directory's entries, sorted.
  static std::vector<std::string> Entries(const std::string& directory);

 private:
  void NoteOutput();

  Stage stage_;
  servertest::Launch plan_;
  std::unique_ptr<ServerProcess> server_;
  std::size_t outAtStart_ = 0;
  std::size_t errAtStart_ = 0;
};

/// How often `part` occurs in `text`.
std::size_t CountOf(std::string_view text, std::string_view part);

/// `text` with the time of every report, as in "Mon Jan  1 00:00:00 2024", replaced by "TIME".
std::string MaskTimes(const std::string& text);

/// A report of the listener of `port`, its time masked.
std::string PortReport(unsigned port, const std::string& text);

/// A data block of rows with the one attribute "zug".
std::string Block(const std::vector<std::string>& trains);

}  // namespace servertest

#endif
