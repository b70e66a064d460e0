#include "check/profile_file.h"

#include <algorithm>

#include "common/station.h"
#include "kaProfile.h"

namespace tools {

namespace {

constexpr std::string_view kBlanks = " \t\n\r\v\f";

/// Which rows are assignments, and of what, is the server's own answer; the places follow from it.
ProfileRow MakeRow(const std::string& text, int line, const CkaProfile::ProfileEntry* entry) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  const std::size_t equals = std::min(text.find('=', first), text.size());
  ProfileRow row;
  row.Line = line;
  row.Column = CountCharacters(std::string_view(text).substr(0, first)) + 1;
  row.bFaulty = entry == nullptr;
  row.Name = entry != nullptr ? entry->var : text.substr(first, equals - first);
  if (entry == nullptr) return row;
  row.Value = entry->value;
  std::size_t quote = text.find('"', equals);
  if (quote == std::string::npos) quote = text.find('\'', equals);
  row.ValueColumn = CountCharacters(std::string_view(text).substr(0, quote + 1)) + 1;
  return row;
}

}  // namespace

ProfileFile::ProfileFile(const std::filesystem::path& file) : file_(file) {
  const std::string text = Read(file);
  CkaProfile reader;
  int line = 1;
  for (std::size_t begin = 0; begin < text.size(); ++line) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string row = text.substr(begin, end - begin);
    const int kind = reader.CheckRow(row);
    if (kind != 0)
      rows_.push_back(MakeRow(row, line, kind > 0 ? &reader.ProfValues.back() : nullptr));
    begin = end + 1;
  }
}

const ProfileRow* ProfileFile::Find(std::string_view name) const {
  const auto row = std::find_if(rows_.begin(), rows_.end(), [name](const ProfileRow& candidate) {
    return !candidate.bFaulty && candidate.Name == name;
  });
  return row == rows_.end() ? nullptr : &*row;
}

bool ProfileFile::Mentions(std::string_view name) const {
  return std::any_of(rows_.begin(), rows_.end(), [name](const ProfileRow& row) {
    return WithoutTrailingBlanks(row.Name) == name;
  });
}

Place ProfileFile::ValueAt(const ProfileRow& row, std::size_t offset) const {
  const std::string_view before = std::string_view(row.Value).substr(0, offset);
  return {file_, row.Line, row.ValueColumn + CountCharacters(before)};
}

std::string WithoutTrailingBlanks(const std::string& text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

int CountCharacters(std::string_view text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

}  // namespace tools
