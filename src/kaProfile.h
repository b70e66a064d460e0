#ifndef KA_PROFILE_H
#define KA_PROFILE_H

#include <string>
#include <vector>

#include "kaSuperior.h"

/// A configuration file of rows `name="value"`, also used for lexica. Rows that begin with "#" or
/// "[" are ignored, any other row that is no assignment is reported with its line number. Names
/// reach up to the first "=", blanks included; a name may stand several times.
class CkaProfile : public CkaSuperior {
 public:
  struct ProfileEntry {
    std::string var;    ///< the name
    std::string value;  ///< the value without its quotes
  };

  CkaProfile();

  /// Reads the file (relative paths stand below the executable's directory), replacing the entries.
  /// \return false, with a message and the old entries kept, if the file does not exist. Faulty
  /// rows are reported and make no difference.
  bool Initialize(const char* path);
  bool Initialize(char* path);
  bool Initialize(const std::string& path);

  /// Appends the entries of `text` and reports faulty rows.
  /// \return the number of rows plus one.
  int ParseProfileString(std::string text);
  /// \return 0 for a row without content, 1 for an assignment (appended), -1 for a faulty row.
  int CheckRow(const std::string& row);
  /// Appends the assignment of `row`; false if it is none.
  bool ParseRow(const std::string& row);

  /// Index of the first entry called exactly `name`, -1 if there is none.
  int GetVarPos(const char* name) const;
  int GetVarPos(char* name) const;
  int GetVarPos(const std::string& name) const;

  /// Value of the first entry called `name`, "" if there is none. Every lookup is echoed on
  /// standard output: integrators follow a station's configuration there.
  std::string GetValueString(const char* name) const;
  std::string GetValueString(char* name) const;
  std::string GetValueString(const std::string& name) const;

  /// Decimal value of an entry, 0 if there is none. A value that holds anything but digits gives 0
  /// and is reported once for each of its characters.
  int GetValueInt(const char* name) const;
  int GetValueInt(char* name) const;
  int GetValueInt(const std::string& name) const;

  /// Bytes that were read of the file of the last Initialize; fewer than it has if reading failed.
  std::size_t GetBytesRead() const;

  int GetVarCount() const;
  /// Name of entry `i`, "" outside the list.
  std::string GetVarName(int i) const;
  /// Value of entry `i`, "" outside the list.
  std::string GetValueAt(int i) const;

  std::vector<ProfileEntry> ProfValues;
  bool bIsInitialized;  ///< stays false; nothing asks for it
  std::string strFilePath;

 private:
  bool HasEntry(int i) const;

  std::size_t BytesRead;
};

#endif
