#ifndef KA_TESTS_FAULTS_OWN_MOUNTS_H
#define KA_TESTS_FAULTS_OWN_MOUNTS_H

#include <string>
#include <vector>

namespace servertest {

/// File systems that only this process and its children see. They go with this object.
class OwnMounts {
 public:
  /// Takes the process into a mount namespace of its own; one thread only may be running.
  OwnMounts();
  ~OwnMounts();
  OwnMounts(const OwnMounts&) = delete;
  OwnMounts& operator=(const OwnMounts&) = delete;

  /// Whether this machine lets us mount. Without, the other calls must not be made.
  bool ArePossible() const { return possible_; }

  /// Puts an empty file system in memory in the place of a directory.
  /// \param options of tmpfs, e.g. "size=64k,nr_inodes=20"
  void MountMemory(const std::string& directory, const std::string& options);
  /// Makes a directory read-only, for root too; Unmount makes it writable again.
  void MakeReadOnly(const std::string& directory);
  void Unmount(const std::string& directory);

 private:
  bool possible_ = false;
  std::vector<std::string> mounted_;
};

}  // namespace servertest

#endif
