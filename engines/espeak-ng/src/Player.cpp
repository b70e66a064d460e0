#include "Player.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>

#include "Failure.h"
#include "Interruption.h"

extern "C" {
#include <sys/pidfd.h>  // declares for C only in Debian 12
}

namespace engine {
namespace {

static_assert(kSampleRate == 22050, "the player's command line names the rate");

constexpr std::array<const char*, 12> kCommand{"aplay", "-q",    "-t", "raw", "-f", "S16_LE",
                                               "-r",    "22050", "-c", "1",   "-",  nullptr};

// How long a wait lasts that neither the pipe nor the player ends; then a signal is seen.
constexpr int kWaitMs = 20;

// What posix_spawn needs to start the player: the pipe as its standard input, and the usual actions
// for the signals that this program ignores.
class SpawnSettings {
 public:
  explicit SpawnSettings(int standardInput) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, standardInput, STDIN_FILENO);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGXFSZ);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }

  const posix_spawn_file_actions_t* Actions() const { return &actions_; }
  const posix_spawnattr_t* Attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

pid_t SpawnPlayer(int standardInput) {
  const SpawnSettings settings(standardInput);
  auto arguments = kCommand;
  pid_t process = -1;
  const int error = posix_spawnp(&process, kCommand[0], settings.Actions(), settings.Attributes(),
                                 const_cast<char* const*>(arguments.data()), environ);
  if (error != 0) throw Failure(WithSystemError("cannot start the player aplay", error));
  return process;
}

}  // namespace

Player::~Player() {
  if (process_ > 0) Kill();
}

void Player::Prepare() {
  if (!wasStarted_) Start();
}

void Player::Write(Samples samples) {
  Prepare();
  if (HasEnded()) ThrowEnded();
  std::span<const std::byte> bytes = std::as_bytes(samples);
  while (!bytes.empty()) {
    const ssize_t count = ::write(pipe_.Get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      WaitForRoom();
    } else if (errno != EINTR) {  // EPIPE: the player is gone or does not listen any more
      Kill();
      ThrowEnded();
    }
  }
}

void Player::Finish() {
  if (!wasStarted_) return;
  pipe_.Close();
  while (!HasEnded()) {
    ThrowIfInterrupted();
    WaitShortly(0);
  }
  if (!WIFEXITED(waitStatus_) || WEXITSTATUS(waitStatus_) != 0) ThrowEnded();
}

void Player::Start() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw Failure(WithSystemError("cannot create a pipe to the player", errno));
  }
  const UniqueFd readEnd(ends[0]);
  pipe_ = UniqueFd(ends[1]);
  if (::fcntl(pipe_.Get(), F_SETFL, O_NONBLOCK) != 0) {
    throw Failure(WithSystemError("cannot set up the pipe to the player", errno));
  }
  process_ = SpawnPlayer(readEnd.Get());
  wasStarted_ = true;
  processHandle_ = UniqueFd(::pidfd_open(process_, 0));
}

void Player::WaitForRoom() {
  ThrowIfInterrupted();
  WaitShortly(POLLOUT);
  if (HasEnded()) ThrowEnded();
}

void Player::WaitShortly(short pipeEvents) const {
  std::array<pollfd, 2> events{{{pipe_.Get(), pipeEvents, 0}, {processHandle_.Get(), POLLIN, 0}}};
  ::poll(events.data(), events.size(), kWaitMs);  // whatever ended it, the caller looks again
}

bool Player::HasEnded() {
  if (process_ > 0 && ::waitpid(process_, &waitStatus_, WNOHANG) == process_) process_ = -1;
  return process_ < 0;
}

void Player::Kill() {
  ::kill(process_, SIGKILL);
  while (::waitpid(process_, &waitStatus_, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
}

void Player::ThrowEnded() const {
  if (WIFEXITED(waitStatus_) && WEXITSTATUS(waitStatus_) != 0) {
    throw Failure("the player aplay failed with status " +
                  std::to_string(WEXITSTATUS(waitStatus_)));
  }
  throw Failure("the player aplay was stopped", kPlayerStopped);
}

}  // namespace engine
