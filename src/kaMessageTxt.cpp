#include "kaMessageTxt.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "kaFile.h"
#include "kaOutput.h"

namespace {

constexpr std::size_t kTextColumn = 14;
constexpr std::size_t kShortestFile = 6;
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

/// What an entry of the class table holds that no block has filled; no class has this id.
constexpr std::uint32_t kNoClass = 0xFFFFFFFF;
/// Starting value of the row before the first one; no class has this id either.
constexpr std::uint32_t kBeforeFirstClass = 999999999;

/// The leading integer of the text from `begin` on. White space, line ends included, is skipped, so
/// that a blank row takes the id of the row after it.
std::uint32_t ClassIdAt(const std::string& text, std::size_t begin) {
  return static_cast<std::uint32_t>(std::strtol(text.c_str() + begin, nullptr, 10));
}

std::string WithLineBreaks(std::string row) {
  for (auto pos = row.find("\\n"); pos != std::string::npos; pos = row.find("\\n", pos + 1)) {
    row.replace(pos, 2, "\n");
  }
  return row;
}

/// The blocks of consecutive rows of one class that the rows of one file make.
class ClassTable {
 public:
  explicit ClassTable(std::array<CkaMessageTxt::kaClassIDPos, CkaMessageTxt::kClassBlocks>& entries)
      : entries_(entries) {}

  /// Adds row number `row`, which has class `id`. Blocks beyond the table are not kept.
  void AddRow(std::uint32_t id, std::uint32_t row) {
    if (id != lastId_) {
      lastId_ = id;
      ++blocks_;
      if (blocks_ <= entries_.size()) entries_[blocks_ - 1] = {id, row, 1};
    } else if (blocks_ >= 1 && blocks_ <= entries_.size()) {
      ++entries_[blocks_ - 1].nIDCount;
    }
  }

 private:
  std::array<CkaMessageTxt::kaClassIDPos, CkaMessageTxt::kClassBlocks>& entries_;
  std::uint32_t lastId_ = kBeforeFirstClass;
  std::size_t blocks_ = 0;
};

}  // namespace

CkaMessageTxt::CkaMessageTxt()
    : _KA_THISCLASS_MSG_ID(0), MsgDataId(0), bIsInitialized(false), nLanguageCount(0) {
  ClassIDPos.fill({kNoClass, 0, 0});
}

CkaMessageTxt::CkaMessageTxt(const std::string& /*name*/, const std::string& path)
    : CkaMessageTxt() {
  bIsInitialized = AddLanguageItem(path) >= 1;
}

CkaMessageTxt::~CkaMessageTxt() = default;

void CkaMessageTxt::SetMsgId(unsigned int id) {
  MsgDataId = id;
}

void CkaMessageTxt::SetPrefix(const std::string& prefix) {
  strPrefix = prefix;
}

void CkaMessageTxt::SetPrefix(const char* prefix) {
  SetPrefix(std::string(prefix));
}

void CkaMessageTxt::SetPrefix(char* prefix) {
  SetPrefix(std::string(prefix));
}

int CkaMessageTxt::AddLanguageItem(char* filepath) {
  if (nLanguageCount >= kLanguages) return -1;
  const int index = nLanguageCount;
  if (!LoadLanguageData(index, filepath) || !ParseLanguageData(index)) return -1;
  bIsInitialized = true;
  return ++nLanguageCount;
}

int CkaMessageTxt::AddLanguageItem(const char* filepath) {
  return AddLanguageItem(std::string(filepath));
}

int CkaMessageTxt::AddLanguageItem(const std::string& filepath) {
  std::string characters = filepath;
  return AddLanguageItem(characters.data());
}

int CkaMessageTxt::AddLanguageItem(char* path, const char* filename) {
  return AddLanguageItem(std::string(path) + filename);
}

bool CkaMessageTxt::LoadLanguageData(int index, char* filepath) {
  if (index < 0 || index >= kLanguages) return false;
  strLanguageText[static_cast<std::size_t>(index)] = CkaFile().GetFileAsString(filepath);
  return ParseLanguageData(index);
}

bool CkaMessageTxt::ParseLanguageData(int index) {
  if (index < 0 || index >= kLanguages) return false;
  const std::string& text = strLanguageText[static_cast<std::size_t>(index)];
  auto& table = strLanguageTable[static_cast<std::size_t>(index)];
  if (text.size() < kShortestFile) return false;

  ClassTable classes(ClassIDPos);
  // The last character that counts; npos in a file of white space alone, which has one empty row.
  const std::size_t absend = text.find_last_not_of(kWhiteSpace);
  std::size_t begin = 0;
  std::size_t end = 0;
  for (std::uint32_t row = 0; row < kRows && end != absend; ++row) {
    classes.AddRow(ClassIdAt(text, begin), row);
    begin += kTextColumn;
    // From the text's column on: a row that is shorter takes the beginning of the row after it.
    end = text.find('\n', begin);
    if (absend == std::string::npos) break;
    end = std::min(end, absend);
    if (begin <= end) table[row] = WithLineBreaks(text.substr(begin, end - begin + 1));
    begin = end + 1;
  }
  return true;
}

std::string CkaMessageTxt::GiveOutAsString(int indexlan, unsigned int classid,
                                           unsigned int indexmesg) const {
  const auto block = std::find_if(ClassIDPos.begin(), ClassIDPos.end(),
                                  [classid](const auto& e) { return e.nClassID == classid; });
  if (block == ClassIDPos.end()) {
    return strPrefix + "Meldungsfehler!! Die Klasse " + std::to_string(classid) +
           " ist nicht in der Tabelle der geforderten Sprache enthalten. \n";
  }
  if (block->nIDCount < indexmesg + 1) {
    return strPrefix + "Meldungsfehler!! Die Klasse " + std::to_string(classid) +
           " hat keine Meldung mit der geforderten Nummer. \n";
  }
  return strPrefix + RowText(indexlan, block->nIDPos + indexmesg);
}

char* CkaMessageTxt::GiveOutAsPChar(int indexlan, unsigned int classid, unsigned int indexmesg) {
  strGivenOut = GiveOutAsString(indexlan, classid, indexmesg);
  return strGivenOut.data();
}

void CkaMessageTxt::Cout(int indexlan, unsigned int classid, unsigned int indexmesg) const {
  PrintOut(GiveOutAsString(indexlan, classid, indexmesg) + "\n");
}

void CkaMessageTxt::Cerr(int indexlan, unsigned int classid, unsigned int indexmesg) const {
  PrintErr(GiveOutAsString(indexlan, classid, indexmesg) + "\n");
}

std::string CkaMessageTxt::RowText(int language, std::uint32_t row) const {
  if (language < 0 || language >= kLanguages || row >= kRows) return "";
  return strLanguageTable[static_cast<std::size_t>(language)][row];
}
