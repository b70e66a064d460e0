#ifndef KA_TESTS_SUPPORT_STATION_H
#define KA_TESTS_SUPPORT_STATION_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kaTTSServer.h"
#include "support/temp_dir.h"

namespace support {

/// The sections of an announcement document. A test replaces the one that it is about.
struct AnnouncementDocument {
  std::string References;  ///< languages with voices and elements
  std::string Format;      ///< RBLFormat
  std::string Cases;
  std::string Languages;  ///< announcements per language

  /// Languages de and en; elements gong (sound), achtung (steady, without text), zug and ziel
  /// (temp); one or two rows with the attributes train (required, for zug) and dest (for ziel); the
  /// case "late" on the attribute delay; a long announcement at position 0, a short one at
  /// position 1.
  AnnouncementDocument();
  /// Only the language de; its one announcement, at position 0, has `phrases`.
  static AnnouncementDocument WithPhrases(const std::string& phrases);

  std::string Text() const;
};

/// A small complete station in a temporary directory, the server's root while it lives:
/// directories, catalogues, configuration with free ports, announcement document.
class Station {
 public:
  /// The document's path as the configuration gives it.
  static constexpr const char* kDocument = "./announcements/station.xml";

  Station();

  const std::string& Path() const { return dir_.Path(); }
  std::string Sub(const std::string& name) const { return dir_.Sub(name); }
  std::string Write(const std::string& name, const std::string& content) const;
  void SetDocument(const AnnouncementDocument& document) const;

  /// Change the configuration file.
  void Set(const std::string& key, const std::string& value);
  void Remove(const std::string& key);
  /// A configured value.
  std::string Value(const std::string& key) const;
  unsigned Port(const std::string& key) const;
  /// What a lookup of a configured key prints.
  std::string Echo(const std::string& key) const;

 private:
  void WriteConfiguration() const;
  void WriteCatalogues() const;

  TempDir dir_;
  ServerRoot root_;
  std::vector<std::pair<std::string, std::string>> entries_;
};

/// A server object that did not start: without a configuration file its start-up ends at once, so
/// it has no listener and no cache manager. Its fields are the test's to fill.
class IdleServer {
 public:
  IdleServer();
  ~IdleServer();
  IdleServer(const IdleServer&) = delete;
  IdleServer& operator=(const IdleServer&) = delete;

  CkaTTSServer* operator->() { return server_.get(); }

  /// Appends a variable to the server's configuration.
  void Set(const std::string& name, const std::string& value);
  /// Hands `text` to a callback as a listener does.
  bool Receive(kaCallBack callback, std::string text);

 private:
  std::unique_ptr<CkaTTSServer> server_;
};

}  // namespace support

#endif
