#include "RegularFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/temp_dir.h"

using engine::FileError;
using engine::OpenRegularFile;
using engine::ReadTextFile;

namespace {

class RegularFileTest : public testing::Test {
 protected:
  support::TempDir dir_;
};

TEST_F(RegularFileTest, TextFileIsReadWhole) {
  const std::string content = std::string(300000, 'x') + '\0' + "end";
  EXPECT_EQ(ReadTextFile(dir_.Write("text", content)), content);
  EXPECT_EQ(ReadTextFile(dir_.Write("empty", "")), "");
}

TEST_F(RegularFileTest, SymbolicLinkIsFollowed) {
  std::filesystem::create_symlink(dir_.Write("text", "Gleis"), dir_.Sub("link"));
  EXPECT_EQ(ReadTextFile(dir_.Sub("link")), "Gleis");
}

TEST_F(RegularFileTest, TextFileMayHaveOneMebibyte) {
  EXPECT_EQ(ReadTextFile(dir_.Write("text", std::string(1048576, 'x'))).size(), 1048576U);
  EXPECT_THROW(ReadTextFile(dir_.Write("text", std::string(1048577, 'x'))), FileError);
}

TEST_F(RegularFileTest, MissingFileIsReportedWithNameAndReason) {
  try {
    OpenRegularFile(dir_.Sub("none"));
    FAIL();
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("/none"));
    EXPECT_THAT(error.what(), testing::HasSubstr("No such file or directory"));
  }
}

TEST_F(RegularFileTest, DirectoriesDevicesAndPipesAreRefusedWithoutWaiting) {
  ASSERT_EQ(::mkfifo(dir_.Sub("fifo").c_str(), 0600), 0);
  for (const std::string& path : std::initializer_list<std::string>{dir_.Path(), dir_.Sub("fifo"),
                                                                    "/dev/zero", "/dev/null"}) {
    EXPECT_THROW(OpenRegularFile(path), FileError) << path;
  }
}

TEST_F(RegularFileTest, ChildrenDoNotInheritTheFile) {
  const engine::UniqueFd file = OpenRegularFile(dir_.Write("text", ""));
  EXPECT_EQ(::fcntl(file.Get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

}  // namespace
