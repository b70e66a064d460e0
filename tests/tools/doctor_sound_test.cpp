// Sound devices as machines that have some show them.

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "demo_station.h"
#include "doctor/finding_groups.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DoctorSound : public ::testing::Test {
 protected:
  DoctorSound() {
    unsetenv("ALSA_CONFIG_PATH");              // NOLINT(concurrency-mt-unsafe): one thread
    setenv("HOME", station.Dir().c_str(), 1);  // NOLINT(concurrency-mt-unsafe): one thread
    options.SoundCards = machine.Sub("cards");
    options.SoundDevices = machine.MakeDir("snd");
    if (fs::exists("/etc/asound.conf")) configured = true;
  }

  void AddCard() const {
    machine.Write("cards",
                  " 0 [PCH            ]: HDA-Intel - HDA Intel PCH\n"
                  "                      HDA Intel PCH at 0xf7f10000 irq 31\n");
  }
  void AddDevice(const std::string& name, int mode) const {
    fs::permissions(machine.Write("snd/" + name, ""), fs::perms(mode));
  }
  std::vector<std::string> Found() {
    const Station opened(station.Dir());
    const Examination examination(opened, options);
    Diagnosis diagnosis(Language::English);
    AudioFindings().Check(examination, diagnosis);
    cards = diagnosis.Figures().Value("ka_tts_sound_cards");
    std::vector<std::string> found;
    for (const Ailment& ailment : diagnosis.Ailments())
      found.push_back(ailment.What.Rule);
    return found;
  }

  toolstest::DemoStation station;
  support::TempDir machine;
  DoctorOptions options;
  double cards = -1;
  bool configured = false;
};

TEST_F(DoctorSound, ListWithoutACardIsTold) {
  if (configured) GTEST_SKIP() << "this machine has an ALSA configuration of its own";
  machine.Write("cards", "--- no soundcards ---\n");
  EXPECT_THAT(Found(), ElementsAre("sound-card-absent"));
  EXPECT_EQ(cards, 0);
}

TEST_F(DoctorSound, CardWithADeviceIsFine) {
  AddCard();
  AddDevice("controlC0", 0666);
  AddDevice("pcmC0D0p", 0666);
  EXPECT_THAT(Found(), IsEmpty());
  EXPECT_EQ(cards, 1);
}

TEST_F(DoctorSound, CardThatOnlyItsDeviceShowsCounts) {
  AddDevice("controlC1", 0666);
  EXPECT_THAT(Found(), IsEmpty());
  EXPECT_EQ(cards, 1);
}

/// Root may open everything, so somebody else looks.
TEST_F(DoctorSound, DeviceThatMayNotBeOpenedIsTold) {
  if (configured) GTEST_SKIP() << "this machine has an ALSA configuration of its own";
  AddCard();
  AddDevice("pcmC0D0p", 0444);
  for (const std::string& directory : {station.Dir(), machine.Path()})
    fs::permissions(directory, fs::perms(0755));
  const Identity nobody = {65534, 65534, {}};
  EXPECT_TRUE(
      AskAs(nobody, [this] { return Found() == std::vector<std::string>{"sound-device-denied"}; }));
}

TEST_F(DoctorSound, RecordingDevicesDoNotMatter) {
  AddCard();
  AddDevice("pcmC0D0c", 0444);
  EXPECT_THAT(Found(), IsEmpty());
}

TEST_F(DoctorSound, OwnConfigurationOfTheUserNeedsNoCard) {
  station.Write(".asoundrc", "pcm.!default { type null }\n");
  EXPECT_THAT(Found(), IsEmpty());
}

}  // namespace

}  // namespace tools
