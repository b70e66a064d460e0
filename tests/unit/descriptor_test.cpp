#include "kaDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>
#include <thread>
#include <utility>

#include "support/temp_dir.h"

namespace {

int OpenNull() {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool IsOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) != -1;
}

/// Both ends of a stream between two descriptors.
std::pair<kaDescriptor, kaDescriptor> MakeStream() {
  std::array<int, 2> ends{-1, -1};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  return {kaDescriptor(ends[0]), kaDescriptor(ends[1])};
}

/// Reads up to the end of the stream and disturbs the writer with a signal before each read.
std::string ReadDisturbing(int descriptor, pthread_t writer) {
  std::string received;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  do {
    pthread_kill(writer, SIGUSR1);
    count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) received.append(buffer.data(), static_cast<std::size_t>(count));
  } while (count > 0);
  return received;
}

/// Lets SIGUSR1 interrupt system calls until the end of its life.
class InterruptingSignal {
 public:
  InterruptingSignal() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before_);
  }
  ~InterruptingSignal() { sigaction(SIGUSR1, &before_, nullptr); }
  InterruptingSignal(const InterruptingSignal&) = delete;
  InterruptingSignal& operator=(const InterruptingSignal&) = delete;

 private:
  struct sigaction before_ {};
};

}  // namespace

TEST(Descriptor, OwnsNothingByDefault) {
  const kaDescriptor none;
  EXPECT_EQ(none.Get(), -1);
  EXPECT_FALSE(none.IsValid());
}

TEST(Descriptor, ZeroIsValid) {
  const int before = dup(0);
  close(0);
  {
    const kaDescriptor zero(open("/dev/null", O_RDONLY));
    EXPECT_EQ(zero.Get(), 0);
    EXPECT_TRUE(zero.IsValid());
  }
  EXPECT_FALSE(IsOpen(0));
  dup2(before, 0);
  close(before);
}

TEST(Descriptor, ClosesAtTheEndOfItsLife) {
  const int number = OpenNull();
  {
    const kaDescriptor owner(number);
    EXPECT_TRUE(owner.IsValid());
    EXPECT_TRUE(IsOpen(number));
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, CloseLeavesItEmpty) {
  const int number = OpenNull();
  kaDescriptor owner(number);
  owner.Close();
  EXPECT_FALSE(owner.IsValid());
  EXPECT_EQ(owner.Get(), -1);
  EXPECT_FALSE(IsOpen(number));
  owner.Close();
  EXPECT_FALSE(owner.IsValid());
}

TEST(Descriptor, CloseTwiceDoesNotHitTheNextOwner) {
  kaDescriptor owner(OpenNull());
  const int number = owner.Get();
  owner.Close();
  const kaDescriptor next(OpenNull());
  ASSERT_EQ(next.Get(), number);
  owner.Close();
  EXPECT_TRUE(IsOpen(number));
}

TEST(Descriptor, MovingHandsTheDescriptorOver) {
  const int number = OpenNull();
  {
    kaDescriptor first(number);
    const kaDescriptor second(std::move(first));
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): a promise of the class
    EXPECT_FALSE(first.IsValid());
    EXPECT_EQ(second.Get(), number);
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, AssignmentClosesWhatWasOwned) {
  const int old = OpenNull();
  const int number = OpenNull();
  kaDescriptor owner(old);
  owner = kaDescriptor(number);
  EXPECT_FALSE(IsOpen(old));
  EXPECT_EQ(owner.Get(), number);
  EXPECT_TRUE(IsOpen(number));
}

TEST(OpenFile, IsNotInheritedByChildren) {
  const kaDescriptor file = OpenFile("/dev/null", O_RDONLY);
  ASSERT_TRUE(file.IsValid());
  EXPECT_NE(fcntl(file.Get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(OpenFile, IsInvalidForAMissingFile) {
  EXPECT_FALSE(OpenFile("/no-such-dir/x", O_RDONLY).IsValid());
  EXPECT_FALSE(OpenFile("", O_RDONLY).IsValid());
  EXPECT_FALSE(OpenFile(std::string(5000, 'x').c_str(), O_RDONLY).IsValid());
}

TEST(OpenFile, CreatesNoExecutable) {
  const support::TempDir directory;
  const std::string path = directory.Sub("new");
  const mode_t mask = umask(0);
  const bool created = OpenFile(path.c_str(), O_WRONLY | O_CREAT).IsValid();
  umask(mask);
  ASSERT_TRUE(created);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH), 0U);
}

TEST(WriteAll, WritesEveryByte) {
  const support::TempDir directory;
  const std::string path = directory.Sub("new");
  const std::string data("a\0b\xff", 4);
  EXPECT_TRUE(WriteAll(OpenFile(path.c_str(), O_WRONLY | O_CREAT).Get(), data.data(), data.size()));
  EXPECT_EQ(support::ReadFile(path), data);
}

TEST(WriteAll, GoesOnAfterPartialWritesAndInterruptions) {
  const InterruptingSignal signal;
  auto [writing, reading] = MakeStream();
  std::string data(4 << 20, '\0');
  for (std::size_t i = 0; i < data.size(); ++i)
    data[i] = static_cast<char>(i * 7 / 5);
  std::string received;
  std::thread reader([&received, descriptor = reading.Get(), writer = pthread_self()] {
    received = ReadDisturbing(descriptor, writer);
  });
  const bool written = WriteAll(writing.Get(), data.data(), data.size());
  writing.Close();
  reader.join();
  EXPECT_TRUE(written);
  EXPECT_TRUE(received == data);
}

TEST(WriteAll, FailsOnAnError) {
  EXPECT_FALSE(WriteAll(-1, "data", 4));
  EXPECT_FALSE(WriteAll(OpenFile("/dev/full", O_WRONLY).Get(), "data", 4));
}

TEST(WriteAll, NothingToWriteIsASuccess) {
  EXPECT_TRUE(WriteAll(OpenFile("/dev/null", O_WRONLY).Get(), nullptr, 0));
}
