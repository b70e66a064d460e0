// Memory that runs out: the limits of the process are drawn tight around what it has.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include "fault_fixture.h"
#include "memory_shim.h"

namespace servertest {

namespace {

using testing::HasSubstr;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryMayBeLimited = false;
#else
constexpr bool kMemoryMayBeLimited = true;
#endif

struct Limit {
  const char* Name;
  __rlimit_resource Resource;
  /// What the kernel holds against the limit, in /proc/PID/status.
  const char* Figure;
};

class NoMemory : public FaultTest, public testing::WithParamInterface<Limit> {
 protected:
  void SetUp() override {
    if (!kMemoryMayBeLimited) GTEST_SKIP() << "sanitizers need memory of their own";
  }
  rlim_t Used() const {
    const std::string status = Content("/proc/" + std::to_string(Pid()) + "/status");
    const std::string mark = std::string(GetParam().Figure) + ":";
    return std::stoul(status.substr(status.find(mark) + mark.size())) * 1024;
  }
  /// Leaves the server so many bytes beside what it has.
  void LeaveMemory(rlim_t bytes) const {
    const rlimit limit{Used() + bytes, RLIM_INFINITY};
    ASSERT_EQ(prlimit(Pid(), GetParam().Resource, &limit, nullptr), 0);
  }
  void LiftLimit() const {
    const rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    ASSERT_EQ(prlimit(Pid(), GetParam().Resource, &limit, nullptr), 0);
  }
  /// Small entities that become a value of 200 KB.
  static std::string GrowingBlock() {
    std::string value;
    for (int count = 0; count < 50; ++count)
      value += "&a;";
    return "<!DOCTYPE rbl [<!ENTITY a \"" + std::string(4000, 'x') + "\">]>" + Block({value});
  }
};

TEST_P(NoMemory, CostsMessagesButNeverTheServer) {
  Start();
  ExpectAllPortsServe("ICE 1");
  NoteDescriptors();
  stubs().ForgetCalls();
  const std::string longText(11000, 'x');
  std::size_t texts = 0;
  for (const rlim_t spare : {1U << 20, 1U << 18, 1U << 16, 1U << 14, 0U}) {
    LeaveMemory(spare);
    for (int round = 0; round < 3; ++round, ++texts) {
      EXPECT_EQ(AskData(GrowingBlock()), kReceived) << spare;
      EXPECT_EQ(AskText(longText), kReceived) << spare;
      EXPECT_EQ(AskCommand(longText), kReceived) << spare;
      ASSERT_TRUE(server().IsRunning()) << spare;
    }
  }
  EXPECT_LT(stubs().CallsOf("speak").size(), texts) << "in the end no program can be started";
  if (GetParam().Resource == RLIMIT_DATA) {
    EXPECT_THAT(
        MaskTimes(NewErr()),
        HasSubstr(PortReport(stage().DataPort(), "ERROR processing message: std::bad_alloc\n")));
  }
  LiftLimit();
  ExpectAllPortsServe("ICE 2");
  ExpectNoDescriptorIsLeft();
}

INSTANTIATE_TEST_SUITE_P(Limits, NoMemory,
                         testing::Values(Limit{"AddressSpace", RLIMIT_AS, "VmSize"},
                                         Limit{"Data", RLIMIT_DATA, "VmData"}),
                         [](const auto& value) { return std::string(value.param.Name); });

// --- every request for memory ------------------------------------------------------------------

struct Message {
  const char* Name;
  unsigned (Stage::*Port)() const;
  const char* Text;
};

class RefusedMemory : public FaultTest, public testing::WithParamInterface<Message> {
 protected:
  RefusedMemory() {
    stage().Set("speakoutstub", ":");
    stage().Set("savespeechstub", ":");
    const std::string path = stage().Beside("memory");
    std::ofstream(path) << std::string(sizeof(MemoryPlan), '\0');
    const kaDescriptor file = OpenFile(path.c_str(), O_RDWR);
    plan_ = static_cast<MemoryPlan*>(
        mmap(nullptr, sizeof(MemoryPlan), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0));
    Plan().Environment.push_back(std::string("LD_PRELOAD=") + KA_MEMORY_SHIM);
    Plan().Environment.push_back("KA_MEMORY=" + path);
  }
  ~RefusedMemory() override { munmap(plan_, sizeof(MemoryPlan)); }

  void SetUp() override {
    if (!kMemoryMayBeLimited) GTEST_SKIP() << "sanitizers have an allocator of their own";
  }

  unsigned PortNumber() const { return (stage().*GetParam().Port)(); }
  /// Sends the message; its n-th request for memory is refused, 0 for none.
  /// \return how many requests it made
  long SendWithout(long n, bool allFollowing) {
    plan_->First = n;
    plan_->AllFollowing = allFollowing;
    plan_->Count = 0;
    plan_->Active = true;
    EXPECT_EQ(Ask(PortNumber(), GetParam().Text), kReceived) << n;
    plan_->Active = false;
    return plan_->Count;
  }
  void ExpectEveryRefusalIsSurvived(bool allFollowing) {
    Start();
    NoteDescriptors();
    SendWithout(0, false);
    const long requests = SendWithout(0, false);
    ASSERT_GT(requests, 0);
    const int step = Rounds(1 + static_cast<int>(requests) / 60, 1);
    long tried = 0;
    for (long n = 1; n <= requests && !HasFailure(); n += step, ++tried)
      SendWithout(n, allFollowing);
    std::cout << tried << " of " << requests << " requests for memory were refused\n";
    ASSERT_TRUE(server().IsRunning()) << Describe(server().AwaitEnd()) << "\n" << Err();
    ExpectOtherPortsServe();
    EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
    EXPECT_EQ(StoredText("de0"), "DE Zug ICE 1");
    ExpectTheDeviceIsFree();
    ExpectNoDescriptorIsLeft();
  }

 private:
  /// What a message had taken that was given up half-way, was given back.
  void ExpectTheDeviceIsFree() {
    const std::string playDirectory = stage().Play();
    std::ofstream(playDirectory + "/gong.wav") << "sound";
    stubs().ForgetCalls();
    EXPECT_EQ(AskCommand("gong"), kReceived);
    EXPECT_EQ(stubs().CallsOf("aplay").size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(playDirectory + "/playblock"));
    EXPECT_FALSE(std::filesystem::exists(playDirectory + "/saveblock"));
  }

  MemoryPlan* plan_;
};

TEST_P(RefusedMemory, OnceCostsOneMessage) {
  ExpectEveryRefusalIsSurvived(false);
}

TEST_P(RefusedMemory, FromThereOnCostsOneMessage) {
  ExpectEveryRefusalIsSurvived(true);
}

// Only plain blocks among them: a fault of a document with declarations is worded by GLib, which
// ends the process when it is refused the memory. That is for the supervisor.
INSTANTIATE_TEST_SUITE_P(
    Messages, RefusedMemory,
    testing::Values(Message{"Text", &Stage::TextPort, "Guten Tag, meine Damen und Herren"},
                    Message{"Block", &Stage::DataPort, "<rbl><row zug=\"ICE 2\"/></rbl>"},
                    Message{"NoBlock", &Stage::DataPort, "<rbl><row zug=\"&#0;"},
                    Message{"List", &Stage::CommandPort, "Ansage1, Ansage2, nochEineLangeAnsage"},
                    Message{"Bell", &Stage::CommandPort, "!bell"}),
    [](const auto& value) { return std::string(value.param.Name); });

}  // namespace

}  // namespace servertest
