#include "kaLexiconCache.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <ctime>
#include <filesystem>
#include <string>

#include "output_of.h"
#include "support/fake_clock.h"
#include "support/temp_dir.h"

namespace {

int gOpened = 0;

}  // namespace

// The linker's names for the replaced and the replacing function.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp,cert-dcl51-cpp)
extern "C" {

int __real_open(const char* path, int flags, ...);

int __wrap_open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const auto mode = va_arg(rest, mode_t);
  va_end(rest);
  if ((flags & O_ACCMODE) == O_RDONLY) ++gOpened;
  return __real_open(path, flags, mode);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp,cert-dcl51-cpp)

namespace {

class LexiconCache : public ::testing::Test {
 protected:
  /// The text as the lexicon at Path makes it; "no lexicon" if there is none.
  std::string Rewrite(const std::string& text) {
    const kaLexicon* lexicon = Cache.Load(Path);
    if (lexicon == nullptr) return "no lexicon";
    kaMaskedText masked = MakeFreeText(text);
    lexicon->ApplyTo(masked);
    return masked.Text;
  }

  void LetSecondsPass(int seconds) { Clock.Set(std::time(nullptr) + seconds); }

  /// The times that `action` opens a file for reading.
  template <class Action>
  int Openings(const Action& action) {
    gOpened = 0;
    action();
    return gOpened;
  }

  support::TempDir Dir;
  const std::string Path = Dir.Write("words", "a=\"b\"\n");
  // From the time on at which the file was written.
  support::FakeClock Clock{[this] {
    struct stat status {};
    stat(Path.c_str(), &status);
    return status.st_ctim.tv_sec;
  }()};
  kaLexiconCache Cache;
};

}  // namespace

TEST_F(LexiconCache, UnchangedFileIsReadOnce) {
  LetSecondsPass(3);
  EXPECT_EQ(Openings([this] { EXPECT_EQ(Rewrite("a"), "b"); }), 1);
  EXPECT_EQ(Openings([this] { EXPECT_EQ(Rewrite("aa"), "bb"); }), 0);
}

TEST_F(LexiconCache, FileThatChangedWithinTwoSecondsIsReadEachTime) {
  for (const int age : {0, 1, 1}) {
    LetSecondsPass(age);
    EXPECT_EQ(Openings([this] { EXPECT_EQ(Rewrite("a"), "b"); }), 1);
  }
  LetSecondsPass(1);
  EXPECT_EQ(Openings([this] { Rewrite("a"); }), 1);
  EXPECT_EQ(Openings([this] { Rewrite("a"); }), 0);
}

TEST_F(LexiconCache, FileOfTheFutureIsReadEachTime) {
  LetSecondsPass(-1000);
  EXPECT_EQ(Openings([this] { Rewrite("a"); }), 1);
  EXPECT_EQ(Openings([this] { Rewrite("a"); }), 1);
}

TEST_F(LexiconCache, ChangeOfSizeIsSeen) {
  LetSecondsPass(3);
  EXPECT_EQ(Rewrite("a"), "b");
  Dir.Write("words", "a=\"longer\"\n");
  EXPECT_EQ(Rewrite("a"), "longer");
}

TEST_F(LexiconCache, ChangeThatKeepsTheSizeIsSeenByItsTime) {
  LetSecondsPass(1000);
  EXPECT_EQ(Rewrite("a"), "b");
  usleep(20'000);  // moves the fake clock only
  struct stat before {};
  stat(Path.c_str(), &before);
  struct stat after {};
  do {  // until the file system's clock has moved on
    Dir.Write("words", "a=\"c\"\n");
    stat(Path.c_str(), &after);
  } while (after.st_ctim.tv_sec == before.st_ctim.tv_sec &&
           after.st_ctim.tv_nsec == before.st_ctim.tv_nsec);
  EXPECT_EQ(Rewrite("a"), "c");
}

TEST_F(LexiconCache, AnotherFileUnderTheNameIsSeen) {
  LetSecondsPass(3);
  EXPECT_EQ(Rewrite("a"), "b");
  const std::string other = Dir.Write("other", "a=\"c\"\n");
  std::filesystem::rename(other, Path);
  EXPECT_EQ(Rewrite("a"), "c");
}

TEST_F(LexiconCache, FileThatVanishesIsMissing) {
  LetSecondsPass(3);
  EXPECT_EQ(Rewrite("a"), "b");
  std::filesystem::remove(Path);
  const std::string message = "Profil-Datei nicht vorhanden:" + Path + "\n";
  EXPECT_EQ(OutputOf([this] { Cache.Load(Path); }), OnlyErr(message));
  EXPECT_EQ(OutputOf([this] { Cache.Load(Path); }), OnlyErr(message));
  EXPECT_EQ(OutputOf([this] { Rewrite("a"); }), OnlyErr(message));
}

TEST_F(LexiconCache, FileThatAppearsIsFound) {
  std::filesystem::remove(Path);
  OutputOf([this] { EXPECT_EQ(Rewrite("a"), "no lexicon"); });
  Dir.Write("words", "a=\"b\"\n");
  EXPECT_EQ(Rewrite("a"), "b");
}

TEST_F(LexiconCache, PrintsWhatAFreshLoadPrints) {
  Dir.Write("words", "no assignment\na=\"b\"\nneither\n");
  const Printed fresh = OutputOf([this] { CkaProfile().Initialize(Path); });
  ASSERT_NE(fresh.Err, "");
  LetSecondsPass(1000);
  EXPECT_EQ(OutputOf([this] { Cache.Load(Path); }), fresh);
  gOpened = 0;
  EXPECT_EQ(OutputOf([this] { Cache.Load(Path); }), fresh);
  EXPECT_EQ(gOpened, 0);
}

TEST_F(LexiconCache, KeepsSeveralFilesApart) {
  const std::string other = Dir.Write("other", "a=\"c\"\n");
  LetSecondsPass(3);
  EXPECT_EQ(Rewrite("a"), "b");
  kaMaskedText masked = MakeFreeText("a");
  Cache.Load(other)->ApplyTo(masked);
  EXPECT_EQ(masked.Text, "c");
  EXPECT_EQ(Rewrite("a"), "b");
}

TEST_F(LexiconCache, FileThatCouldNotBeReadIsReadAgain) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may hand the file to somebody else";
  LetSecondsPass(1000);
  ASSERT_EQ(chmod(Path.c_str(), 0), 0);
  ASSERT_EQ(seteuid(65534), 0);
  ASSERT_EQ(chmod(Dir.Path().c_str(), 0755), -1);
  const std::string unreadable = Rewrite("a");
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_NE(unreadable, "b");
  EXPECT_EQ(Rewrite("a"), "b");
}
