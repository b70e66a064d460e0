#ifndef KA_TOOLS_WORD_LIST_H
#define KA_TOOLS_WORD_LIST_H

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "check/server_readers.h"
#include "common/document.h"
#include "common/finding.h"
#include "common/station.h"
#include "words/lexicon_file.h"
#include "words/phonemes.h"
#include "words/risk.h"

namespace tools {

/// An entry that rewrites a text.
struct CoveringEntry {
  std::filesystem::path File;
  int Line = 0;
  std::string Word;
  std::string Value;
};

/// A text as the engine gets it.
struct SpokenText {
  std::string Text;  ///< as the block or the document has it
  std::string Said;  ///< after the lexicon
  std::string Phonemes;
  std::vector<CoveringEntry> Entries;  ///< in the order of the text
};

/// A word that the station can say.
struct SpokenWord : SpokenText {
  std::string Language;
  std::string Lexicon;  ///< "" for a word of the document, or if its phrase has none
  Risk Doubt;           ///< of what no entry covers
  Place First;          ///< where it stands first
  int Count = 0;        ///< how often it was met
};

/// What a station can say: its document, its lexica, its voices.
class Wording {
 public:
  /// \throws CannotRun if the document cannot be read
  explicit Wording(const Station& station);

  /// The station's languages, in the document's order.
  std::vector<std::string> Languages() const;
  /// The lexica of a language that its document lists or uses, in the order of their names.
  std::vector<std::string> LexicaOf(const std::string& language) const;
  /// All words that the document and the values of the blocks can bring, whatever the cases say,
  /// the greatest risk first.
  /// \throws CannotRun if a block cannot be read
  std::vector<SpokenWord> Words(const std::vector<std::filesystem::path>& blocks);
  /// The lexica of a language through which those values of the blocks go that hold `word`.
  std::set<std::string> LexicaWith(const std::string& word, const std::string& language,
                                   const std::vector<std::filesystem::path>& blocks);
  /// A text as a language says it. \param lexicon "" for none
  SpokenText Speak(const std::string& text, const std::string& language,
                   const std::string& lexicon);
  /// What stands before every announcement of a language: its voice and rate.
  std::string GeneralPrefix(const std::string& language) const;

 private:
  struct SpokenAttribute;
  struct Value;

  int IndexOf(const std::string& language) const;
  std::string VoiceOf(const std::string& language) const;
  const LexiconFile* Lexicon(const std::string& language, const std::string& name);
  std::set<SpokenAttribute> SpokenAttributes() const;
  std::vector<Value> ValuesOf(const std::filesystem::path& block) const;
  void AddValue(const Value& value);
  void AddDocument();
  void AddFixed(const std::string& text, const std::string& language, int line);
  void AddWord(SpokenWord word, const std::string& voice);

  const Station& station_;
  Document document_;
  ServerReaders readers_;
  std::string defaultVoice_;
  Phonemes phonemes_;
  std::map<std::filesystem::path, std::optional<LexiconFile>> lexica_;
  std::map<std::vector<std::string>, SpokenWord> words_;
};

}  // namespace tools

#endif
