#include "kaFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "output_of.h"
#include "support/temp_dir.h"

namespace {

/// Makes a directory the working directory until the end of its life.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~WorkingDirectory() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
  }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  std::filesystem::path before_;
};

/// The server's root and the working directory are two directories.
class File : public testing::Test {
 protected:
  support::TempDir Root;
  support::TempDir Working;
  support::ServerRoot ServerRoot{Root.Path()};
  WorkingDirectory WorkingRoot{Working.Path()};
  CkaFile Utility;
};

std::string MissingMessage(const std::string& path) {
  return "File does not exist: \"" + path + "\" !! \n";
}

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i)
    bytes += static_cast<char>(i);
  return bytes;
}

}  // namespace

TEST_F(File, StartsWithoutAPath) {
  EXPECT_EQ(Utility.GetClassMsgID(), 3000U);
  EXPECT_FALSE(Utility.IsInitialized());
  EXPECT_EQ(Utility.GetFilePath(), "");
  EXPECT_FALSE(Utility.bIsOpen);
  EXPECT_FALSE(Utility.bIsLocked);
}

TEST_F(File, ConstructorTakesTheResolvedPathOfAnExistingFile) {
  const std::string path = Root.Write("sub/x", "text");
  const CkaFile file("./sub/x");
  EXPECT_TRUE(file.IsInitialized());
  EXPECT_EQ(file.GetFilePath(), path);
  EXPECT_EQ(file.GetFileAsString(), "text");
}

TEST_F(File, ConstructorCountsAsInitialisedWithoutTheFile) {
  const CkaFile file("./missing");
  EXPECT_TRUE(file.IsInitialized());
  EXPECT_EQ(file.GetFilePath(), "");
}

TEST_F(File, ConstructorWithAnEmptyPathIsNotInitialised) {
  EXPECT_FALSE(CkaFile("").IsInitialized());
  EXPECT_EQ(CkaFile("").GetFilePath(), "");
}

TEST_F(File, SetFilePathTakesAnExistingFile) {
  const std::string path = Root.Write("x", "");
  Utility.SetFilePath("x");
  EXPECT_TRUE(Utility.IsInitialized());
  EXPECT_EQ(Utility.GetFilePath(), path);
}

TEST_F(File, SetFilePathOfAMissingFileKeepsThePathAndIsNotInitialised) {
  const std::string path = Root.Write("x", "");
  Utility.SetFilePath(path);
  Utility.SetFilePath(std::string("missing"));
  EXPECT_FALSE(Utility.IsInitialized());
  EXPECT_EQ(Utility.GetFilePath(), path);
  EXPECT_EQ(OutputOf([&] { Utility.SetFilePath("missing"); }), Nothing());
}

TEST_F(File, PathsResolveAgainstTheExecutablesDirectory) {
  const support::ServerRoot root("/opt/srv");
  const struct {
    const char* Path;
    const char* Resolved;
  } paths[] = {
      {"../../x", "/x"},
      {"../a", "/opt/a"},
      {"./kaconfig/kaTtsServer.kacfg", "/opt/srv/kaconfig/kaTtsServer.kacfg"},
      {"messages/errDE.csv", "/opt/srv/messages/errDE.csv"},
      {"/etc/x", "/etc/x"},
      {"../../../x", "/x"},
      {"../", "/opt/"},
      {"../../", "/"},
      {"..", "/opt/srv/.."},
      {"..x", "/opt/srv/..x"},
      {".", "/opt/srv/."},
      {"./", "/opt/srv/"},
      {"./x", "/opt/srv/x"},
      {"./../x", "/opt/srv/../x"},
      {"././x", "/opt/srv/./x"},
      {".//x", "/opt/srv//x"},
      {".x", "/opt/srv/.x"},
      {"", "/opt/srv/"},
      {"x", "/opt/srv/x"},
      {"~/x", "/opt/srv/~/x"},
      {" /x", "/opt/srv/ /x"},
      {"a/../b", "/opt/srv/a/../b"},
      {"../a/../b", "/opt/a/../b"},
      {"a//b", "/opt/srv/a//b"},
      {"/", "/"},
      {"//a//../b/", "//a//../b/"},
  };
  for (const auto& [path, resolved] : paths) {
    EXPECT_EQ(Utility.GetFileNameFromShellPath(path), resolved) << path;
    EXPECT_EQ(Utility.GetFileNameFromShellPath(std::string(path)), resolved) << path;
  }
}

TEST_F(File, GetCwdIsTheExecutablesDirectory) {
  EXPECT_EQ(Utility.GetCWD(), Root.Path());
  const support::ServerRoot none("");
  EXPECT_EQ(Utility.GetCWD(), "");
  EXPECT_EQ(Utility.GetFileNameFromShellPath("x"), "/x");
}

TEST_F(File, ParentOfADirectoryWithATrailingSlash) {
  const std::string directory = Root.MakeDir("srv");
  EXPECT_EQ(Utility.GetParentDir(directory + "/", false), Root.Path());
  EXPECT_EQ(Utility.GetParentDir(directory + "/", true), Root.Path());
}

TEST_F(File, ParentOfATrailingSlashThatIsNoDirectoryIsThePathItself) {
  EXPECT_EQ(Utility.GetParentDir("/no-such-dir/srv/", false), "/no-such-dir/srv");
}

TEST_F(File, ParentIsWhatStandsBeforeTheLastSlash) {
  const struct {
    const char* Path;
    const char* Parent;
  } paths[] = {{"/a/b/c", "/a/b"}, {"/", "/"}, {"/usr", ""}, {"/usr/", ""},
               {"name", "name"},   {"", ""},   {"a/b", "a"}, {"./a", "."},
               {"/a//b", "/a/"},   {"//", ""}, {"a/", "a"},  {"/no-such-dir", ""}};
  for (const auto& [path, parent] : paths) {
    EXPECT_EQ(Utility.GetParentDir(path, false), parent) << path;
    EXPECT_EQ(Utility.GetParentDir(std::string(path), false), parent) << path;
  }
}

TEST_F(File, ParentOfAMissingPathIsEmptyWhenAskedToCheck) {
  EXPECT_EQ(Utility.GetParentDir(Root.Sub("missing"), true), "");
  EXPECT_EQ(Utility.GetParentDir(Root.Sub("missing"), false), Root.Path());
  Root.Write("sub/x", "");
  EXPECT_EQ(Utility.GetParentDir("sub/x", true), "sub");
}

TEST_F(File, ParentOfTheOwnPath) {
  Utility.SetFilePath(Root.Write("sub/x", ""));
  EXPECT_EQ(Utility.GetParentDir(true), Root.Sub("sub"));
  std::filesystem::remove(Root.Sub("sub/x"));
  EXPECT_EQ(Utility.GetParentDir(true), "");
  EXPECT_EQ(Utility.GetParentDir(false), Root.Sub("sub"));
}

TEST_F(File, WholeFileIsReadByteByByte) {
  std::string content;
  for (int i = 0; i < 4096; ++i)
    content += AllBytes();
  std::string path = Root.Write("x", content);
  EXPECT_TRUE(Utility.GetFileAsString("x") == content);
  EXPECT_TRUE(Utility.GetFileAsString(path) == content);
  EXPECT_TRUE(Utility.GetFileAsString(path.data()) == content);
}

TEST_F(File, EmptyFileIsAnEmptyText) {
  const std::string path = Root.Write("x", "");
  std::string text = "before";
  EXPECT_EQ(OutputOf([&] { text = Utility.GetFileAsString(path); }), Nothing());
  EXPECT_EQ(text, "");
}

TEST_F(File, MissingFileIsReportedByItsResolvedPath) {
  std::string text = "before";
  EXPECT_EQ(OutputOf([&] { text = Utility.GetFileAsString("./sub/missing"); }),
            OnlyErr(MissingMessage(Root.Sub("sub/missing"))));
  EXPECT_EQ(text, "");
}

TEST_F(File, DirectoryIsAnEmptyTextWithoutAMessage) {
  std::string text = "before";
  EXPECT_EQ(OutputOf([&] { text = Utility.GetFileAsString(Root.Path()); }), Nothing());
  EXPECT_EQ(text, "");
}

TEST_F(File, OwnFileIsReadOnlyWhenInitialised) {
  Utility.SetFilePath(Root.Write("x", "text"));
  EXPECT_EQ(Utility.GetFileAsString(), "text");
  Utility.SetFilePath("missing");
  std::string text = "before";
  EXPECT_EQ(OutputOf([&] { text = Utility.GetFileAsString(); }), Nothing());
  EXPECT_EQ(text, "");
}

TEST_F(File, OwnFileThatVanishedIsReported) {
  const std::string path = Root.Write("x", "text");
  Utility.SetFilePath(path);
  std::filesystem::remove(path);
  EXPECT_EQ(OutputOf([&] { Utility.GetFileAsString(); }), OnlyErr(MissingMessage(path)));
}

TEST_F(File, WriteToFileLeavesAnExistingFileUnlessToldToOverwrite) {
  const std::string path = Root.Write("x", "before");
  EXPECT_FALSE(Utility.WriteToFile(path.c_str(), "data", 3, false));
  EXPECT_EQ(support::ReadFile(path), "before");
  EXPECT_TRUE(Utility.WriteToFile(path.c_str(), "data", 3, true));
  EXPECT_EQ(support::ReadFile(path), "dat");
}

TEST_F(File, WriteToFileCreatesTheFile) {
  const std::string path = Root.Sub("new");
  EXPECT_TRUE(Utility.WriteToFile(path.c_str(), "data", 4, false));
  EXPECT_EQ(support::ReadFile(path), "data");
  EXPECT_TRUE(Utility.WriteToFile(Root.Sub("empty").c_str(), "data", 0, true));
  EXPECT_TRUE(std::filesystem::is_empty(Root.Sub("empty")));
}

TEST_F(File, WriteToFileTakesAStringWhole) {
  std::string content;
  for (int i = 0; i < 4096; ++i)
    content += AllBytes();
  const std::string path = Root.Sub("new");
  EXPECT_TRUE(Utility.WriteToFile(path.c_str(), content, true));
  EXPECT_TRUE(support::ReadFile(path) == content);
  EXPECT_FALSE(Utility.WriteToFile(path.c_str(), std::string("x"), false));
  EXPECT_TRUE(Utility.WriteToFile(path.c_str(), std::string(), true));
  EXPECT_EQ(support::ReadFile(path), "");
}

TEST_F(File, WriteToFileFailsWhereNoFileCanBe) {
  bool written = true;
  EXPECT_EQ(
      OutputOf([&] { written = Utility.WriteToFile(Root.Sub("none/x").c_str(), "data", 4, true); }),
      Nothing());
  EXPECT_FALSE(written);
  EXPECT_FALSE(Utility.WriteToFile(Root.Path().c_str(), "data", 4, true));
  EXPECT_FALSE(Utility.WriteToFile("", "data", 4, true));
}

TEST_F(File, WriteToFileReportsAFullDisk) {
  EXPECT_FALSE(Utility.WriteToFile("/dev/full", "data", 4, true));
}

TEST_F(File, WrittenFileIsNotExecutable) {
  const std::string path = Root.Sub("new");
  const mode_t mask = umask(0);
  const bool written = Utility.WriteToFile(path.c_str(), "data", 4, true);
  umask(mask);
  ASSERT_TRUE(written);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH), 0U);
}

TEST_F(File, WriteToFileDoesNotResolveThePathItWrites) {
  EXPECT_TRUE(Utility.WriteToFile("x", "data", 4, false));
  EXPECT_EQ(support::ReadFile(Working.Sub("x")), "data");
  EXPECT_FALSE(std::filesystem::exists(Root.Sub("x")));
}

TEST_F(File, WriteToFileResolvesThePathThatItTests) {
  Root.Write("x", "root");
  EXPECT_FALSE(Utility.WriteToFile("x", "data", 4, false));
  EXPECT_FALSE(std::filesystem::exists(Working.Sub("x")));
  Working.Write("y", "working");
  EXPECT_TRUE(Utility.WriteToFile("y", "data", 4, false));
  EXPECT_EQ(support::ReadFile(Working.Sub("y")), "data");
}

TEST_F(File, FileExistsForAnythingAtTheResolvedPath) {
  Root.Write("sub/x", "");
  char characters[] = "sub/x";
  EXPECT_TRUE(Utility.FileExists("sub/x"));
  EXPECT_TRUE(Utility.FileExists(characters));
  EXPECT_TRUE(Utility.FileExists(Root.Sub("sub/x")));
  EXPECT_TRUE(Utility.FileExists("./sub"));
  EXPECT_TRUE(Utility.FileExists("/dev/null"));
  EXPECT_TRUE(Utility.FileExists(""));
  EXPECT_FALSE(Utility.FileExists("x"));
  Working.Write("only-in-working-directory", "");
  EXPECT_FALSE(Utility.FileExists("only-in-working-directory"));
}

TEST_F(File, IsDirDoesNotResolveThePath) {
  Root.MakeDir("in-root");
  Working.MakeDir("in-working");
  EXPECT_TRUE(Utility.IsDir("in-working"));
  EXPECT_FALSE(Utility.IsDir("in-root"));
  EXPECT_TRUE(Utility.IsDir(Root.Sub("in-root")));
  EXPECT_FALSE(Utility.IsDir(Root.Write("file", "")));
  EXPECT_FALSE(Utility.IsDir(""));
}

TEST_F(File, IsDirKeepsNoDirectoryOpen) {
  const int before = open("/dev/null", O_RDONLY | O_CLOEXEC);
  for (int i = 0; i < 10; ++i)
    EXPECT_TRUE(Utility.IsDir(Root.Path()));
  const int after = open("/dev/null", O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(after, before + 1);
  close(after);
  close(before);
}

TEST_F(File, OverLongNamesAreMissingFiles) {
  const std::string name(5000, 'x');
  const std::string path = "/" + name;
  std::string text = "before";
  EXPECT_EQ(OutputOf([&] { text = Utility.GetFileAsString(path); }), OnlyErr(MissingMessage(path)));
  EXPECT_EQ(text, "");
  Utility.SetFilePath(path);
  EXPECT_FALSE(Utility.IsInitialized());
  EXPECT_TRUE(CkaFile(path).IsInitialized());
  EXPECT_FALSE(Utility.FileExists(path));
  EXPECT_FALSE(Utility.FileExists(name));
  EXPECT_FALSE(Utility.IsDir(path));
  EXPECT_FALSE(Utility.WriteToFile(path.c_str(), "data", 4, true));
  EXPECT_FALSE(Utility.WriteToFile(name.c_str(), "data", 4, false));
  EXPECT_EQ(Utility.GetParentDir(path + "/a", false), path);
  EXPECT_EQ(Utility.GetParentDir(path + "/", false), path);
  EXPECT_EQ(Utility.GetParentDir(path, true), "");
  EXPECT_EQ(Utility.GetFileNameFromShellPath(name), Root.Path() + path);
}

TEST_F(File, ManyParentStepsEndAtTheTop) {
  std::string path;
  for (int i = 0; i < 2000; ++i)
    path += "../";
  EXPECT_EQ(Utility.GetFileNameFromShellPath(path + "x"), "/x");
}
