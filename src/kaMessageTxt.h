#ifndef KA_MESSAGE_TXT_H
#define KA_MESSAGE_TXT_H

#include <array>
#include <cstdint>
#include <string>

/// One message catalogue: the numbered texts of every class in up to two languages.
///
/// A language is a text file of rows with fixed columns: 0 to 7 the class id, 8 to 13 not read,
/// from 14 on the text, in which backslash-n stands for a line break. A message's number is its
/// row's position within the rows of its class. All languages must have the same classes at the
/// same rows.
class CkaMessageTxt {
 public:
  static constexpr int kLanguages = 2;
  /// Rows 0 to 100: installed catalogues fill the row after the hundredth, too.
  static constexpr int kRows = 101;
  static constexpr int kClassBlocks = 15;

  /// A run of rows of one class.
  struct kaClassIDPos {
    std::uint32_t nClassID;  ///< class id of the run
    std::uint32_t nIDPos;    ///< row number of its first row
    std::uint32_t nIDCount;  ///< number of its rows
  };

  CkaMessageTxt();
  /// Reads the first language from `path`. The first argument is not used.
  CkaMessageTxt(const std::string& name, const std::string& path);
  virtual ~CkaMessageTxt();

  void SetMsgId(unsigned int id);

  /// Sets the text in front of every message.
  void SetPrefix(const std::string& prefix);
  void SetPrefix(const char* prefix);
  void SetPrefix(char* prefix);

  /// Reads the next language from a file.
  /// \return the number of languages now, or -1 if the file cannot be read, has fewer than six
  /// characters, or both languages are there already.
  int AddLanguageItem(char* filepath);
  int AddLanguageItem(const char* filepath);
  int AddLanguageItem(const std::string& filepath);
  /// The same for `path` directly followed by `filename`.
  int AddLanguageItem(char* path, const char* filename);

  /// Reads a file into language `index` and parses it.
  bool LoadLanguageData(int index, char* filepath);
  /// Parses the text of language `index` into its rows and the class table, which all languages
  /// share: it describes the language parsed last.
  bool ParseLanguageData(int index);

  /// Prefix and message `indexmesg` of class `classid` in language `indexlan`; a German error text
  /// in place of a message that is not there.
  std::string GiveOutAsString(int indexlan, unsigned int classid, unsigned int indexmesg) const;
  /// The same as characters that live until the next call on this object.
  char* GiveOutAsPChar(int indexlan, unsigned int classid, unsigned int indexmesg);

  /// Prints the message and an end of line to standard output.
  void Cout(int indexlan, unsigned int classid, unsigned int indexmesg) const;
  /// Prints the message and an end of line to standard error.
  void Cerr(int indexlan, unsigned int classid, unsigned int indexmesg) const;

  std::uint32_t _KA_THISCLASS_MSG_ID;
  std::uint32_t MsgDataId;
  bool bIsInitialized;
  int nLanguageCount;
  std::string strPrefix;
  std::array<std::string, kLanguages> strLanguageName;
  std::array<std::string, kLanguages> strLanguageText;
  std::array<std::array<std::string, kRows>, kLanguages> strLanguageTable;
  std::array<kaClassIDPos, kClassBlocks> ClassIDPos;

 private:
  std::string RowText(int language, std::uint32_t row) const;

  std::string strGivenOut;
};

#endif
