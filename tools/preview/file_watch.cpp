#include "preview/file_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "common/cannot_run.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNoWatch = {"kann nicht beobachtet werden", "cannot be watched"};
constexpr std::uint32_t kChanges =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE;
constexpr int kForEver = -1;
/// Editors write a file in several steps.
constexpr int kQuietMilliseconds = 50;

bool IsReadable(int descriptor, int milliseconds) {
  pollfd readable{descriptor, POLLIN, 0};
  return poll(&readable, 1, milliseconds) > 0;
}

}  // namespace

FileWatch::FileWatch() : events_(inotify_init1(IN_CLOEXEC)) {
  if (!events_.IsValid()) throw CannotRun(kNoWatch, "inotify");
}

void FileWatch::AddFile(const fs::path& file) {
  const fs::path absolute = fs::absolute(file);
  if (Watched* watched = Watch(absolute.parent_path())) {
    watched->Names.insert(absolute.filename());
  }
}

void FileWatch::AddDirectory(const fs::path& directory) {
  if (Watched* watched = Watch(fs::absolute(directory))) watched->bWhole = true;
}

fs::path FileWatch::Wait() {
  fs::path changed;
  while (changed.empty())
    if (IsReadable(events_.Get(), kForEver)) changed = ReadEvents();
  while (IsReadable(events_.Get(), kQuietMilliseconds))
    ReadEvents();
  return changed;
}

FileWatch::Watched* FileWatch::Watch(const fs::path& directory) {
  const int number = inotify_add_watch(events_.Get(), directory.c_str(), kChanges);
  if (number < 0) return nullptr;
  Watched& watched = watched_[number];
  watched.Directory = directory;
  return &watched;
}

/// Takes the events that are there. \return the first watched file among them, "" if there is none
fs::path FileWatch::ReadEvents() {
  alignas(inotify_event) std::array<char, 4096> bytes;
  const ssize_t count = read(events_.Get(), bytes.data(), bytes.size());
  fs::path changed;
  for (ssize_t at = 0; at < count;) {
    inotify_event event{};
    std::memcpy(&event, bytes.data() + at, sizeof event);
    const std::string name = event.len == 0 ? "" : bytes.data() + at + sizeof event;
    const auto watched = watched_.find(event.wd);
    const bool counts = watched != watched_.end() && !name.empty() &&
                        (watched->second.bWhole || watched->second.Names.contains(name));
    if (counts && changed.empty()) changed = watched->second.Directory / name;
    at += static_cast<ssize_t>(sizeof event + event.len);
  }
  return changed;
}

}  // namespace tools
