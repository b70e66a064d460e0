#include "check/file_access.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temp_dir.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

class FileAccessTest : public ::testing::Test {
 protected:
  std::string File(fs::perms mode) const {
    const std::string path = directory.Write("file", "x");
    fs::permissions(path, mode);
    return path;
  }
  std::string Directory(fs::perms mode) const {
    const std::string path = directory.MakeDir("directory");
    fs::permissions(path, mode);
    return path;
  }

  support::TempDir directory;
};

TEST_F(FileAccessTest, ModeCountsForEveryUser) {
  EXPECT_TRUE(IsReadableFile(File(fs::perms(0400))));
  EXPECT_FALSE(IsReadableFile(File(fs::perms(0000))));
}

TEST_F(FileAccessTest, ExecutableFileHasTheMode) {
  EXPECT_TRUE(IsExecutableFile(File(fs::perms(0700))));
  EXPECT_FALSE(IsExecutableFile(File(fs::perms(0644))));
}

TEST_F(FileAccessTest, DirectoryMayBeReadOnly) {
  EXPECT_TRUE(IsWritableDirectory(Directory(fs::perms(0700))));
  const std::string path = Directory(fs::perms(0555));
  EXPECT_FALSE(IsWritableDirectory(path));
  EXPECT_TRUE(IsDirectory(path));
}

TEST_F(FileAccessTest, DirectoryIsNoFile) {
  const std::string path = Directory(fs::perms(0777));
  EXPECT_FALSE(IsReadableFile(path));
  EXPECT_FALSE(IsExecutableFile(path));
  EXPECT_FALSE(IsDirectory(File(fs::perms(0777))));
  EXPECT_FALSE(IsWritableDirectory(File(fs::perms(0777))));
}

TEST_F(FileAccessTest, WhatIsNotThereIsNothing) {
  const std::string none = directory.Sub("none");
  EXPECT_FALSE(IsReadableFile(none) || IsExecutableFile(none) || IsDirectory(none) ||
               IsWritableDirectory(none));
}

TEST_F(FileAccessTest, LinksAreFollowed) {
  fs::create_symlink(File(fs::perms(0600)), directory.Sub("link"));
  EXPECT_TRUE(IsReadableFile(directory.Sub("link")));
  fs::create_symlink("nowhere", directory.Sub("broken"));
  EXPECT_FALSE(IsReadableFile(directory.Sub("broken")));
}

}  // namespace

}  // namespace tools
