#include "check/wave_file.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "demo_station.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

using namespace std::string_literals;

std::string Number(std::size_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i, number >>= 8U)
    bytes += static_cast<char>(number & 0xFFU);
  return bytes;
}

std::string Chunk(std::string_view name, std::string_view content) {
  std::string chunk = std::string(name) + Number(content.size(), 4) + std::string(content);
  return content.size() % 2 == 0 ? chunk : chunk + '\0';
}

std::string Wave(const std::string& chunks) {
  return Chunk("RIFF", "WAVE" + chunks);
}

/// A description of mono samples of 16 bits.
std::string Format(std::size_t coding, std::string_view extension = "") {
  return Chunk("fmt ", Number(coding, 2) + Number(1, 2) + Number(48000, 4) + Number(96000, 4) +
                           Number(2, 2) + Number(16, 2) + std::string(extension));
}

class InspectWaveTest : public ::testing::Test {
 protected:
  WaveFile Inspect(const std::string& bytes) const {
    return InspectWave(directory.Write("file.wav", bytes));
  }

  support::TempDir directory;
};

TEST_F(InspectWaveTest, SamplesOfTheDemoStationArePcm) {
  for (const char* name : {"gong.wav", "bell.wav"}) {
    const auto file = toolstest::Project() / "announcements" / "sounds" / name;
    EXPECT_EQ(InspectWave(file.string()).Kind, WaveKind::Pcm) << name;
  }
}

TEST_F(InspectWaveTest, OtherChunksAreSkipped) {
  EXPECT_EQ(
      Inspect(Wave(Chunk("LIST", "odd") + Format(1) + Chunk("fact", "") + Chunk("data", "ab")))
          .Kind,
      WaveKind::Pcm);
}

TEST_F(InspectWaveTest, LongDescriptionNamesItsCodingBehind) {
  const auto extension = [](std::size_t coding) {
    return Number(22, 2) + Number(16, 2) + Number(4, 4) + Number(coding, 2) + std::string(14, 'x');
  };
  const std::string data = Chunk("data", "ab");
  EXPECT_EQ(Inspect(Wave(Format(0xFFFE, extension(1)) + data)).Kind, WaveKind::Pcm);
  const WaveFile other = Inspect(Wave(Format(0xFFFE, extension(3)) + data));
  EXPECT_EQ(other.Kind, WaveKind::Compressed);
  EXPECT_EQ(other.Format, 3);
}

TEST_F(InspectWaveTest, OtherCodingsAreTold) {
  const WaveFile wave = Inspect(Wave(Format(0x11) + Chunk("data", "ab")));
  EXPECT_EQ(wave.Kind, WaveKind::Compressed);
  EXPECT_EQ(wave.Format, 0x11);
}

TEST_F(InspectWaveTest, NoSampleIsEmpty) {
  EXPECT_EQ(Inspect("").Kind, WaveKind::Empty);
  EXPECT_EQ(Inspect(Wave(Format(1) + Chunk("data", ""))).Kind, WaveKind::Empty);
  EXPECT_EQ(Inspect(Wave(Format(1) + "data" + Number(100, 4))).Kind, WaveKind::Empty);
  EXPECT_EQ(Inspect(Wave(Format(1))).Kind, WaveKind::Empty);
  EXPECT_EQ(Inspect(Wave("")).Kind, WaveKind::Empty);
}

TEST_F(InspectWaveTest, FileThatEndsBeforeItsSamplesIsTruncated) {
  const std::string whole = Wave(Format(1) + Chunk("data", "12345678"));
  EXPECT_FALSE(Inspect(whole).bTruncated);
  EXPECT_TRUE(Inspect(whole.substr(0, whole.size() - 1)).bTruncated);
}

/// Programs that write to a pipe state a size without knowing it.
TEST_F(InspectWaveTest, SizeThatNobodyKnewIsNotMissed) {
  for (const std::size_t size : {0x7FFFFFFFU, 0xFFFFFFFFU}) {
    const std::string data = "data" + Number(size, 4) + "12345678";
    EXPECT_FALSE(Inspect(Wave(Format(1) + data)).bTruncated) << size;
  }
}

TEST_F(InspectWaveTest, ChunkThatReachesBeyondTheFileEndsIt) {
  EXPECT_EQ(Inspect(Wave(Format(1) + "LIST\xFF\xFF\xFF\xFF" + "x")).Kind, WaveKind::Empty);
}

TEST_F(InspectWaveTest, OtherFilesAreToldByTheirBeginning) {
  EXPECT_EQ(Inspect("OggS\0\2abc"s).Kind, WaveKind::Other);
  EXPECT_EQ(Inspect("OggS\0\2abc"s).Content, "OggS");
  EXPECT_EQ(Inspect("RIFF\4\0\0\0AVI "s).Kind, WaveKind::Other);
  EXPECT_EQ(Inspect("RI").Kind, WaveKind::Other);
}

}  // namespace

}  // namespace tools
