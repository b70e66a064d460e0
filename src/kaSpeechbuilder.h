#ifndef KA_SPEECHBUILDER_H
#define KA_SPEECHBUILDER_H

#include <string>
#include <vector>

#include "kaCaseIndex.h"
#include "kaCases.h"
#include "kaLexiconCache.h"
#include "kaOutput.h"
#include "kaProfile.h"
#include "kaRBLDataFormat.h"
#include "kaSpeechFormat.h"
#include "kaSpeechGen.h"

class CkaCaseCheck;
class CkaRBLDataContent;
struct kaCompositionTrace;
struct kaPhraseTrace;

/// What becomes of a received block.
enum class kaBlockState {
  Complete,      ///< announcements are made of it
  NoXml,         ///< refused: not well-formed, or it would expand too far
  TooFewRows,    ///< refused
  ValueMissing,  ///< refused: a required attribute has no value
};

/// A required attribute without a value.
struct kaMissingValue {
  int Row = 0;
  std::string Attribute;
};

/// The announcement builder: knows the announcement document, turns received data blocks into
/// announcement texts, has them made into speech files and rotates those into the play directory.
class CkaSpeechbuilder : public CkaSuperior {
 public:
  /// The text of one row in one language.
  struct kaAnnouncementText {
    bool bExists = false;  ///< false: the language has no announcement for the row
    std::string Language;
    std::string Text;
  };

  CkaSpeechbuilder();

  /// Reads the configuration and the announcement document at `path`. The first failure ends it.
  /// \throws std::out_of_range if the document lacks References, Assembly or RBLFormat.
  bool Initialize(const std::string& path);

  std::string GetPlayAnnounce() const;
  std::string GetStoreAnnounce() const;

  /// Marker files in the play directory keep rotation and playback apart. Only their existence
  /// counts. Setting one returns false if it cannot be written; clearing one is always true.
  bool IsPlayBlocked() const;
  bool IsSaveBlocked() const;
  bool DoPlayBlock(bool block) const;
  bool DoSaveBlock(bool block) const;

  /// Reads a received block. \param content is fresh and gets its rows \param rowCount gets how
  /// many rows announcements are made of
  kaBlockState ReadBlock(const std::string& data, CkaRBLDataContent& content, int& rowCount) const;
  /// The required attributes that have no value in the first `rowCount` rows, by row.
  std::vector<kaMissingValue> FindMissingValues(const CkaRBLDataContent& content,
                                                int rowCount) const;
  /// Whether every required attribute has a value in each of the first `rowCount` rows.
  bool CheckDataValidity(CkaRBLDataContent& content, int rowCount) const;
  /// Builds and saves the announcements of the first `rowCount` rows in every language, then
  /// rotates them into the play directory. Always true. \throws std::out_of_range for a document
  /// whose sections do not fit together.
  bool CreateAnnouncements(CkaRBLDataContent& content, int rowCount);
  /// Composes the text of row `row` in language `lang` and changes nothing: what the server prints
  /// on the way is appended to `reports`, and no file is written and no engine run. \param cases
  /// has checked the row \throws std::out_of_range as CreateAnnouncements; `reports` then holds
  /// what came before. \param trace unless null, is replaced by how the text came about; after an
  /// exception it holds what came before.
  kaAnnouncementText ComposeText(const CkaRBLDataContent& content, const CkaCaseCheck& cases,
                                 int row, int lang, std::vector<kaReport>& reports,
                                 kaCompositionTrace* trace = nullptr) const;
  /// Name of the last attribute assigned to element `id`, "" if there is none.
  std::string GetRBLAttNameFromSpeechId(const std::string& id) const;
  /// `text` with the replacements of a lexicon file; unchanged if the file cannot be loaded.
  /// \param trace unless null, gets the lexicon's part in a phrase
  std::string UseLexicon(const std::string& text, const std::string& lexiconPath,
                         kaPhraseTrace* trace = nullptr) const;

  /// Makes the announcements of one received block.
  /// \return false if it is no XML, has too few rows, or lacks a required value.
  bool GenerateNewSpeeches(std::string& data);
  /// Has the engine make the speech file for a text unless it is the last one of this language and
  /// row. Always true.
  bool SaveSpeech(const std::string& lang, int n, const std::string& text) const;
  /// Has the engine make `wavFile` from an existing text file.
  void SaveSpeech(const std::string& textFile, const std::string& wavFile) const;
  std::string CreateBackupFileName(const std::string& lang, int n) const;
  std::string CreateStoreWavFileName(const std::string& lang, int n) const;
  std::string CreatePlayWavFileName(const std::string& lang, int n) const;
  /// Replaces the speech files of the play directory by those of the first `rowCount` rows.
  /// \return false if a playback went on for 120 s; then nothing is moved.
  bool MoveSpeeches(int rowCount) const;

  bool bIsInitialized;
  CkaSpeechFormat SpeechFormat;
  CkaRBLDataFormat RBLDataFormat;
  CkaCases CaseData;
  CkaSpeechGen SpeechGen;
  CkaProfile kaConfig;
  std::string SoundsPath;
  std::string SteadyPath;
  std::string StoreAnnounce;
  std::string PlayAnnounce;
  std::string PlayPrefix;
  std::string PlaySuffix;
  std::string SaveSpeechPath;
  std::string PlayBlock;
  std::string SaveBlock;
  std::string engineName;
  kaCaseIndex CaseIndex;  ///< of CaseData

 private:
  void ReadConfiguration();
  bool ReadDocument(const std::string& path);
  bool IsValueMissing(const CkaRBLDataContent& content, int row, int attribute) const;
  void AppendPhrase(kaAnnouncementText& announcement, const CkaSpeechGen::kaTTSPhrase& phrase,
                    const CkaRBLDataContent& content, int row, kaPhraseTrace* trace) const;
  std::string SpeakValue(const CkaSpeechGen::kaTTSPhrase& phrase, const std::string& value,
                         const std::string& lang, kaPhraseTrace* trace) const;
  std::string MakeSaveCommand(const std::string& textFile, const std::string& wavFile) const;
  void DeletePlayedSpeeches() const;
  void CopyStoredSpeeches(int rowCount) const;

  /// Lexica of values. Composing a text fills it, so one builder composes in one thread only.
  mutable kaLexiconCache Lexica;
};

#endif
