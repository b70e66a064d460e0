#include "support/catalogue_model.h"

#include <algorithm>

namespace model {

namespace {

constexpr std::uint32_t kNoClassYet = 999999999;

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The integer that the text has at or, after blanks, behind `from`, modulo 2^32.
std::uint32_t IntegerAt(const std::string& text, std::size_t from) {
  std::size_t i = from;
  while (i < text.size() && IsBlank(text[i]))
    ++i;
  const bool negative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  // A number of more than 63 bits counts as the largest of them, the smallest if negative.
  constexpr std::uint64_t kLimit = 0x8000000000000000U;
  std::uint64_t number = 0;
  for (; i < text.size() && IsDigit(text[i]); ++i) {
    const auto digit = static_cast<std::uint64_t>(text[i] - '0');
    number = number > (kLimit - digit) / 10 ? kLimit : number * 10 + digit;
  }
  if (negative) return static_cast<std::uint32_t>(0 - number);
  return static_cast<std::uint32_t>(number == kLimit ? kLimit - 1 : number);
}

std::string WithLineBreaks(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isBreak = text[i] == '\\' && i + 1 < text.size() && text[i + 1] == 'n';
    result += isBreak ? '\n' : text[i];
    if (isBreak) ++i;
  }
  return result;
}

}  // namespace

bool Catalogue::HasContent(const std::string& text) {
  return !std::all_of(text.begin(), text.end(), IsBlank);
}

bool Catalogue::Read(std::size_t language, const std::string& text) {
  if (text.size() < 6) return false;
  std::size_t last = text.size() - 1;
  while (last > 0 && IsBlank(text[last]))
    --last;

  lastClass_ = kNoClassYet;
  opened_ = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
  for (std::uint32_t row = 0; row < kRows && end != last; ++row) {
    AddRow(IntegerAt(text, begin), row);
    begin += 14;
    end = begin;
    while (end < last && text[end] != '\n')
      ++end;
    if (end > last) end = last;
    if (begin <= end) Rows[language][row] = WithLineBreaks(text.substr(begin, end - begin + 1));
    begin = end + 1;
  }
  return true;
}

void Catalogue::AddRow(std::uint32_t classId, std::uint32_t row) {
  if (classId == lastClass_) {
    if (opened_ > 0 && opened_ <= kBlocks) ++Blocks[opened_ - 1].Count;
    return;
  }
  lastClass_ = classId;
  ++opened_;
  if (opened_ > kBlocks) return;
  if (Blocks.size() < opened_) Blocks.resize(opened_);
  Blocks[opened_ - 1] = {classId, row, 1};
}

std::string Catalogue::Message(std::size_t language, std::uint32_t classId,
                               std::uint32_t number) const {
  const std::string error = Prefix + "Meldungsfehler!! Die Klasse " + std::to_string(classId);
  for (const Block& block : Blocks) {
    if (block.Class != classId) continue;
    if (block.Count < number + 1) {
      return error + " hat keine Meldung mit der geforderten Nummer. \n";
    }
    const std::uint32_t row = block.First + number;
    return Prefix + (row < kRows ? Rows[language][row] : "");
  }
  return error + " ist nicht in der Tabelle der geforderten Sprache enthalten. \n";
}

}  // namespace model
