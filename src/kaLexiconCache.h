#ifndef KA_LEXICON_CACHE_H
#define KA_LEXICON_CACHE_H

#include <sys/types.h>

#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kaLexicon.h"
#include "kaOutput.h"

/// Keeps lexicon files that were loaded, as long as they stay the same files. For one thread.
class kaLexiconCache {
 public:
  /// The lexicon file at `path`. A file that was loaded before and has not changed since is not
  /// read again; what its load printed is printed again. A file that changed within the last 2 s is
  /// always read: a second change may leave no trace in its time stamp.
  /// \return null, with a message, if the file does not exist. The lexicon lives until the next
  /// call.
  const kaLexicon* Load(const std::string& path);

 private:
  /// What tells one state of a file from another.
  struct kaFileState {
    dev_t Device;
    ino_t Inode;
    off_t Size;
    std::time_t ChangeSecond;
    long ChangeNanosecond;

    bool operator==(const kaFileState&) const = default;
  };

  struct kaLoadedFile {
    std::optional<kaFileState> State;  ///< none if the file is to be read again
    std::vector<kaReport> Reports;     ///< what the load printed
    std::size_t BytesRead = 0;
    std::optional<kaLexicon> Lexicon;
  };

  static std::optional<kaFileState> StateOf(const std::string& path);
  static bool IsSettled(const kaFileState& state);
  static kaLoadedFile Read(const std::string& path);

  std::map<std::string, kaLoadedFile> files_;
};

#endif
