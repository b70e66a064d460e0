#include "own_mounts.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace servertest {

namespace {

void Require(bool condition, const std::string& what) {
  if (!condition) throw std::system_error(errno, std::generic_category(), what);
}

/// Becomes root of a user namespace in which nothing but one's own user exists.
bool BecomeOwnRoot() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  return geteuid() == 0;
}

}  // namespace

OwnMounts::OwnMounts() {
  const bool separated = geteuid() == 0 ? unshare(CLONE_NEWNS) == 0 : BecomeOwnRoot();
  possible_ = separated && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

OwnMounts::~OwnMounts() {
  for (const std::string& directory : mounted_)
    umount2(directory.c_str(), MNT_DETACH);
}

void OwnMounts::MountMemory(const std::string& directory, const std::string& options) {
  Require(mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) == 0, directory);
  mounted_.push_back(directory);
}

void OwnMounts::MakeReadOnly(const std::string& directory) {
  const char* const path = directory.c_str();
  Require(mount(path, path, nullptr, MS_BIND, nullptr) == 0, directory);
  mounted_.push_back(directory);
  Require(mount(nullptr, path, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0, directory);
}

void OwnMounts::Unmount(const std::string& directory) {
  Require(umount2(directory.c_str(), MNT_DETACH) == 0, directory);
  mounted_.erase(std::find(mounted_.begin(), mounted_.end(), directory));
}

}  // namespace servertest
