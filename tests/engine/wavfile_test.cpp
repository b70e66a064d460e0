#include "WavFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Failure.h"
#include "sound.h"
#include "support/temp_dir.h"

using engine::Failure;
using engine::WavFile;
using engine_test::ReadSound;

namespace {

namespace fs = std::filesystem;

class WavFileTest : public testing::Test {
 protected:
  std::size_t FileCount() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(dir_.Path()), fs::directory_iterator()));
  }

  support::TempDir dir_;
  const std::string path_ = dir_.Sub("de0.wav");
  const std::vector<std::int16_t> samples_{0, 1, -1, 32767, -32768, 258};
};

TEST_F(WavFileTest, HoldsTheSamplesAsMono16BitAt22050) {
  WavFile file(path_);
  file.Write(samples_);
  file.Write(samples_);
  file.Commit();
  const engine_test::Sound sound = ReadSound(path_);
  EXPECT_EQ(sound.sampleRate, 22050);
  EXPECT_EQ(sound.channels, 1);
  EXPECT_EQ(sound.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  ASSERT_EQ(sound.samples.size(), 12U);
  EXPECT_EQ(sound.samples[9], 32767 / 32768.0F);
  EXPECT_EQ(sound.samples[10], -1.0F);
  EXPECT_EQ(sound.samples[11], 258 / 32768.0F);
}

TEST_F(WavFileTest, HeaderIsTheUsual44Bytes) {
  WavFile file(path_);
  file.Write(std::vector<std::int16_t>{0x0201});
  file.Commit();
  using namespace std::string_literals;
  EXPECT_EQ(support::ReadFile(path_),
            "RIFF\x26\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x22\x56\0\0\x44\xAC\0\0\2\0\x10\0"
            "data\2\0\0\0\1\2"s);
}

TEST_F(WavFileTest, LongSoundIsWrittenWhole) {
  WavFile file(path_);
  const std::vector<std::int16_t> block(10007, 77);
  for (int i = 0; i < 50; ++i)
    file.Write(block);
  file.Commit();
  const engine_test::Sound sound = ReadSound(path_);
  EXPECT_EQ(sound.samples.size(), 500350U);
  EXPECT_EQ(sound.samples.back(), 77 / 32768.0F);
}

TEST_F(WavFileTest, AppearsOnlyWithTheCommit) {
  WavFile file(path_);
  file.Write(std::vector<std::int16_t>(200000));
  EXPECT_FALSE(fs::exists(path_));
  EXPECT_EQ(FileCount(), 1U);
  file.Commit();
  EXPECT_TRUE(fs::exists(path_));
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(WavFileTest, OldFileStaysUntilTheCommit) {
  dir_.Write("de0.wav", "old");
  WavFile file(path_);
  file.Write(samples_);
  EXPECT_EQ(support::ReadFile(path_), "old");
  file.Commit();
  EXPECT_EQ(ReadSound(path_).samples.size(), samples_.size());
}

TEST_F(WavFileTest, WithoutCommitNothingIsLeftAndTheOldFileStays) {
  dir_.Write("de0.wav", "old");
  {
    WavFile file(path_);
    file.Write(samples_);
    EXPECT_EQ(FileCount(), 2U);
  }
  EXPECT_EQ(FileCount(), 1U);
  EXPECT_EQ(support::ReadFile(path_), "old");
}

TEST_F(WavFileTest, WithoutSoundThereIsATenthOfASecondOfSilence) {
  WavFile file(path_);
  file.Commit();
  EXPECT_EQ(ReadSound(path_).samples, std::vector<float>(2205));
}

TEST_F(WavFileTest, HasTheUsualPermissions) {
  const mode_t before = ::umask(022);
  WavFile file(path_);
  file.Commit();
  struct stat status {};
  ::stat(path_.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777U, 0644U);
  EXPECT_EQ(::umask(before), 022U);
}

TEST_F(WavFileTest, MissingDirectoryIsAFailure) {
  EXPECT_THROW(WavFile(dir_.Sub("missing/de0.wav")), Failure);
}

TEST_F(WavFileTest, TargetThatIsNoRegularFileIsRefusedAndStays) {
  const std::string file = dir_.Write("file", "kept");
  fs::create_symlink(file, dir_.Sub("link.wav"));
  ASSERT_EQ(::mkfifo(dir_.Sub("fifo.wav").c_str(), 0600), 0);
  for (const std::string& path : {dir_.MakeDir("dir.wav"), dir_.Sub("link.wav"),
                                  dir_.Sub("fifo.wav"), dir_.MakeDir("x") + "/"}) {
    const fs::file_type before = fs::symlink_status(path).type();
    EXPECT_THROW(WavFile{path}, Failure) << path;
    EXPECT_EQ(fs::symlink_status(path).type(), before) << path;
  }
  EXPECT_EQ(support::ReadFile(file), "kept");
}

TEST_F(WavFileTest, LongestNameIsPossible) {
  const std::string path = dir_.Sub(std::string(251, 'x') + ".wav");
  WavFile file(path);
  file.Commit();
  EXPECT_TRUE(fs::exists(path));
  EXPECT_THROW(WavFile(dir_.Sub(std::string(252, 'x') + ".wav")).Commit(), Failure);
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(WavFileTest, MoreThanAnHourIsAFailure) {
  WavFile file(path_);
  const std::vector<std::int16_t> minute(60UL * 22050);
  for (int i = 0; i < 60; ++i)
    file.Write(minute);
  EXPECT_THROW(file.Write(minute), Failure);
}

}  // namespace
