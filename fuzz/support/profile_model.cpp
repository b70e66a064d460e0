#include "support/profile_model.h"

#include <cstdint>
#include <limits>

namespace model {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

/// Position of the first `wanted` at or after `from`, the length if there is none.
std::size_t FirstOf(const std::string& text, char wanted, std::size_t from) {
  std::size_t i = from;
  while (i < text.size() && text[i] != wanted)
    ++i;
  return i;
}

/// Position behind the last `wanted`, 0 if there is none.
std::size_t BehindLastOf(const std::string& text, char wanted) {
  std::size_t i = text.size();
  while (i > 0 && text[i - 1] != wanted)
    --i;
  return i;
}

bool ReadAssignment(const std::string& row, Entry& entry) {
  const std::size_t equals = FirstOf(row, '=', 0);
  if (equals == 0 || equals == row.size()) return false;

  const bool hasDouble = BehindLastOf(row, '"') > 0;
  std::size_t opening = FirstOf(row, '"', equals);
  if (opening == row.size()) opening = FirstOf(row, '\'', equals);
  if (opening == row.size()) return false;
  const std::size_t behindClosing = BehindLastOf(row, hasDouble ? '"' : '\'');
  if (behindClosing < opening + 2) return false;

  entry.Name = row.substr(0, equals);
  entry.Value = row.substr(opening + 1, behindClosing - 1 - (opening + 1));
  return true;
}

}  // namespace

int ReadRow(const std::string& row, Entry& entry) {
  std::size_t first = 0;
  while (first < row.size() && IsBlank(row[first]))
    ++first;
  if (first == row.size() || row[first] == '#' || row[first] == '[') return 0;
  return ReadAssignment(row.substr(first), entry) ? 1 : -1;
}

Profile ReadProfile(const std::string& text) {
  Profile profile;
  std::string row;
  for (const char c : text + "\n") {
    if (c != '\n') {
      row += c;
      continue;
    }
    ++profile.Lines;
    Entry entry;
    const int kind = ReadRow(row, entry);
    if (kind == 1) profile.Entries.push_back(entry);
    if (kind == -1) profile.FaultyLines.push_back(profile.Lines);
    row.clear();
  }
  return profile;
}

std::string FaultyRowReports(const Profile& profile, const std::string& path) {
  std::string reports;
  for (const int line : profile.FaultyLines) {
    reports += "Fehler beim Einlesen von Profil " + path + "\nZeile Nr. " + std::to_string(line) +
               "ist fehlerhaft.\n\n";
  }
  return reports;
}

int NumberOfDigits(const std::string& digits) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  std::int64_t number = 0;
  for (const char c : digits) {
    const int digit = c - '0';
    if (number > (kLargest - digit) / 10) return static_cast<int>(kLargest);
    number = number * 10 + digit;
  }
  return static_cast<int>(number);
}

}  // namespace model
