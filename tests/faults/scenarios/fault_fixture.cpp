#include "fault_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace servertest {

using testing::HasSubstr;

int Rounds(int sample, int full) {
  const char* const wish = std::getenv("KA_FAULTS");  // NOLINT(concurrency-mt-unsafe)
  return wish != nullptr && std::string_view(wish) == "full" ? full : sample;
}

bool FaultTest::Exists(const std::string& path) const {
  return std::filesystem::exists(path);
}

void FaultTest::UseGoodEngine() {
  UseEngine(
      "{ printf 'speech of: '; /bin/cat \"$1\"; } >\"$2.part\" && /bin/mv \"$2.part\" \"$2\"");
}

void FaultTest::UseRealEngine(const std::string& options) {
  const std::string engine = stage().EngineDir() + "/ka-espeak-ng";
  if (!Exists(engine)) LinkOrCopy(KA_ENGINE_PATH, engine);
  stage().Set("savespeechstub", engine + " --voice de " + options + " --");
}

std::string FaultTest::AdapterTemplate() {
  return KA_SOURCE_DIR "/engines/espeak-ng/adapter-template.sh";
}

std::string FaultTest::RestartScript() {
  return KA_SOURCE_DIR "/scripts/restart";
}

void FaultTest::UseRealPlayer() {
  stubs().Add("aplay", "exec /usr/bin/aplay \"$@\"");
  stage().Write("asound.conf", "pcm.!default { type null }\n");
  Plan().Environment.push_back("ALSA_CONFIG_PATH=" + stage().Dir() + "/asound.conf");
}

void FaultTest::ExpectBlockIsServed(const std::string& train) const {
  EXPECT_EQ(AskData(Block({train})), kReceived);
  EXPECT_EQ(StoredText("de0"), "DE Zug " + train);
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug " + train));
  EXPECT_EQ(PlayedSpeech("en0"), StubSpeech("EN train " + train));
}

void FaultTest::ExpectOtherPortsServe() const {
  EXPECT_EQ(AskText("Guten Tag"), kReceived);
  EXPECT_THAT(Out(), HasSubstr("\nspeakout: Guten Tag\n"));
  EXPECT_EQ(AskCommand("niemand"), kReceived);
  EXPECT_THAT(Out(), HasSubstr("new cmd: niemand 0\n"));
}

void FaultTest::ExpectAllPortsServe(const std::string& train) const {
  ExpectBlockIsServed(train);
  ExpectOtherPortsServe();
}

void FaultTest::ExpectNoDescriptorIsLeft() const {
  EXPECT_TRUE(WaitUntil([this] { return OpenDescriptors(Pid()) == descriptors_; }))
      << OpenDescriptors(Pid()).size() << " open descriptors, before " << descriptors_.size();
}

}  // namespace servertest
