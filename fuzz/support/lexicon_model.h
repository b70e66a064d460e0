#ifndef KA_FUZZ_LEXICON_MODEL_H
#define KA_FUZZ_LEXICON_MODEL_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/profile_model.h"

namespace model {

/// A text and which of its bytes ("*") were put in by a lexicon.
struct Masked {
  std::string Text;
  std::string Mask;
};

Masked Free(const std::string& text);

/// As announcements do it: a word is replaced if none of its bytes is protected.
void ReplaceInValue(Masked& masked, const std::vector<Entry>& lexicon);

/// As texts with lexicon references do it: a word is replaced if the next protected byte lies
/// behind it.
void ReplaceInText(Masked& masked, const std::vector<Entry>& lexicon);

/// The lexicon files of a station. They do not change.
class LexiconFiles {
 public:
  explicit LexiconFiles(std::string root) : root_(std::move(root)) {}

  /// What the file "./lexidata/NAME" holds; nothing if it is not there.
  const std::optional<Profile>& Read(const std::string& name);
  std::string Path(const std::string& name) const { return root_ + "/lexidata/" + name; }

 private:
  std::string root_;
  std::map<std::string, std::optional<Profile>> files_;
  const std::optional<Profile> none_;
};

/// What the server prints, by stream.
struct Printed {
  std::string Out;
  std::string Err;
};

/// A value through the lexicon file `name`.
std::string UsedLexicon(const std::string& value, const std::string& name, LexiconFiles& files,
                        Printed& printed);

/// A text through the lexica that its markups select by `configuration`.
std::string AppliedReferences(const std::string& text, const std::vector<Entry>& configuration,
                              LexiconFiles& files, Printed& printed);

}  // namespace model

#endif
