#include "server_fixture.h"

#include <fcntl.h>

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "kaDescriptor.h"

namespace servertest {

namespace {

kaDescriptor Create(const std::string& path) {
  return kaDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

// The sanitizers' own settings reach a server that is built with them.
std::vector<std::string> SanitizerSettings() {
  std::vector<std::string> settings;
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"}) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets any
    if (value != nullptr) settings.push_back(std::string(name) + "=" + value);
  }
  return settings;
}

// What stands around the time of a report.
constexpr std::string_view kMark = " --- ";
constexpr std::size_t kStampLength = 24;

bool IsTimeStamp(const std::string& text) {
  std::tm time{};
  const char* const end = strptime(text.c_str(), "%a %b %e %H:%M:%S %Y", &time);
  return text.size() == kStampLength && end == text.c_str() + kStampLength;
}

}  // namespace

ServerTest::ServerTest() {
  plan_.Executable = stage_.Executable();
  plan_.WorkingDirectory = stage_.WorkDir();
  plan_.Environment = SanitizerSettings();
  plan_.Environment.push_back("PATH=" + stubs().Directory());
}

void ServerTest::TearDown() {
  server_.reset();
  const std::string errors = Err();
  EXPECT_THAT(errors, Not(testing::HasSubstr("Sanitizer")));
  EXPECT_THAT(errors, Not(testing::HasSubstr("runtime error")));
}

void ServerTest::Launch() {
  stage_.WriteConfiguration();
  server_.reset();
  std::filesystem::remove(stage_.Beside("stdout"));
  std::filesystem::remove(stage_.Beside("stderr"));
  const kaDescriptor out = Create(stage_.Beside("stdout"));
  const kaDescriptor err = Create(stage_.Beside("stderr"));
  plan_.Out = out.Get();
  plan_.Err = err.Get();
  server_ = std::make_unique<ServerProcess>(plan_);
}

void ServerTest::StartWithoutPorts() {
  Launch();
  // The first message tells that the catalogues are loaded, the second that start-up is over.
  ASSERT_TRUE(WaitUntil([this] { return CountOf(Out(), "ka-TTS-Server: ") == 2; }))
      << Out() << Err();
  NoteOutput();
}

void ServerTest::Start() {
  StartWithoutPorts();
  for (const unsigned port : {stage_.TextPort(), stage_.DataPort(), stage_.CommandPort()}) {
    ASSERT_TRUE(WaitUntil([&] { return ListensOn(Pid(), port); })) << Out() << Err();
  }
  NoteOutput();
}

void ServerTest::NoteOutput() {
  outAtStart_ = Out().size();
  errAtStart_ = Err().size();
}

std::string ServerTest::Out() const {
  return support::ReadFile(stage_.Beside("stdout"));
}

std::string ServerTest::Err() const {
  return support::ReadFile(stage_.Beside("stderr"));
}

std::string ServerTest::Terminate() {
  AskCommand("!terminate");
  return Describe(server_->AwaitEnd());
}

void ServerTest::AwaitCalls(const std::string& name, std::size_t count) {
  ASSERT_TRUE(WaitUntil([&] { return stubs().CallsOf(name).size() >= count; }))
      << name << " called " << stubs().CallsOf(name).size() << " times";
}

void ServerTest::AwaitErr(const std::string& text) {
  ASSERT_TRUE(WaitUntil([&] { return Err().find(text) != std::string::npos; })) << Err();
}

std::vector<std::string> ServerTest::Entries(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Ask(unsigned port, std::string_view text) {
  const Client client(port);
  client.Send(text);
  if (text.empty()) client.EndSending();
  return client.ReceiveAll();
}

std::size_t CountOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos;
       at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

std::string MaskTimes(const std::string& text) {
  std::string masked = text;
  for (std::size_t at = masked.find(kMark); at != std::string::npos; at = masked.find(kMark, at)) {
    at += kMark.size();
    if (IsTimeStamp(masked.substr(at, kStampLength))) masked.replace(at, kStampLength, "TIME");
  }
  return masked;
}

std::string PortReport(unsigned port, const std::string& text) {
  return "Port: " + std::to_string(port) + " --- TIME --- " + text;
}

std::string Block(const std::vector<std::string>& trains) {
  std::string block = "<rbl>";
  for (const std::string& train : trains)
    block += "<row zug=\"" + train + "\"/>";
  return block + "</rbl>";
}

}  // namespace servertest
