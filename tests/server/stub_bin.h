#ifndef KA_TESTS_SERVER_STUB_BIN_H
#define KA_TESTS_SERVER_STUB_BIN_H

#include <string>
#include <vector>

namespace servertest {

/// A directory that is a server's whole PATH. What lies in it stands in for the machine's programs:
/// recorders write down how they were called. The real killall and reboot cannot be reached.
class StubBin {
 public:
  /// \param directory is made; the record and the marks stand beside it
  explicit StubBin(const std::string& directory);

  const std::string& Directory() const { return directory_; }

  /// Puts a recorder called `name` into the directory. \param action shell lines it ends with
  void Add(const std::string& name, const std::string& action = "");
  /// The same at any place, recorded under `name`.
  void AddAt(const std::string& path, const std::string& name, const std::string& action = "");
  /// Puts the machine's own program into the directory, unrecorded.
  void AddReal(const std::string& name);

  /// The calls in their order, each as "name [argument] [argument]".
  std::vector<std::string> Calls() const;
  /// The calls of one program.
  std::vector<std::string> CallsOf(const std::string& name) const;
  void ForgetCalls();

  /// From now on a recorder called `name` does not end before Release, or for a minute.
  void Hold(const std::string& name) const;
  void Release(const std::string& name) const;
  /// Shell lines that release `name`, for the action of another recorder.
  std::string ReleasingAction(const std::string& name) const;

 private:
  std::string HoldMark(const std::string& name) const;

  std::string directory_;
  std::string record_;
};

}  // namespace servertest

#endif
