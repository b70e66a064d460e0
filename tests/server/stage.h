#ifndef KA_TESTS_SERVER_STAGE_H
#define KA_TESTS_SERVER_STAGE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "port_lease.h"
#include "stub_bin.h"
#include "support/temp_dir.h"

namespace servertest {

/// The directory of a server: its executable with configuration, catalogues, announcement document,
/// stub engine and stub players around it. A test changes what it wants before it starts the
/// server.
class Stage {
 public:
  Stage();
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  /// The server's root, without trailing "/".
  const std::string& Dir() const { return dir_; }
  std::string Executable() const { return dir_ + "/ka-tts-server"; }
  std::string WorkDir() const { return root_.Sub("work"); }
  std::string Store() const { return dir_ + "/run/store"; }
  std::string Play() const { return dir_ + "/run/play"; }
  std::string Steady() const { return dir_ + "/run/steady"; }
  std::string Sounds() const { return dir_ + "/sounds"; }
  std::string EngineDir() const { return dir_ + "/engines/stub"; }
  /// A path beside the server's root.
  std::string Beside(const std::string& name) const { return root_.Sub(name); }

  StubBin& Stubs() { return stubs_; }
  unsigned TextPort() const { return textPort_.Number(); }
  unsigned DataPort() const { return dataPort_.Number(); }
  unsigned CommandPort() const { return commandPort_.Number(); }

  /// Writes a file below the server's root; makes its directories.
  void Write(const std::string& name, const std::string& content) const;
  void Remove(const std::string& name) const;
  void WriteDocument(const std::string& xml) const { Write("station.xml", xml); }

  /// Sets a key of the configuration, or takes it out. Written by WriteConfiguration.
  void Set(const std::string& key, const std::string& value) { configuration_[key] = value; }
  void Unset(const std::string& key) { configuration_.erase(key); }
  void WriteConfiguration() const;
  /// From now on WriteConfiguration does nothing: the test has a file of its own, or none.
  void KeepConfigurationFile() { writesConfiguration_ = false; }

 private:
  void MakeDirectories() const;
  void WriteCatalogues() const;
  void MakeStubs();

  support::TempDir root_;
  std::string dir_;
  StubBin stubs_;
  PortLease textPort_;
  PortLease dataPort_;
  PortLease commandPort_;
  std::map<std::string, std::string> configuration_;
  bool writesConfiguration_ = true;
};

/// Replaces every occurrence of `mark`.
std::string Replaced(std::string text, std::string_view mark, std::string_view value);

/// What the stub engine writes as the speech file of a text.
std::string StubSpeech(const std::string& text);

/// Makes `to` a link to the file `from`, or a copy where links cannot be made.
void LinkOrCopy(const std::string& from, const std::string& to);

}  // namespace servertest

#endif
