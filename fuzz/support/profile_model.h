#ifndef KA_FUZZ_PROFILE_MODEL_H
#define KA_FUZZ_PROFILE_MODEL_H

#include <string>
#include <vector>

namespace model {

struct Entry {
  std::string Name;
  std::string Value;

  bool operator==(const Entry&) const = default;
};

/// What a profile's text consists of.
struct Profile {
  std::vector<Entry> Entries;
  std::vector<int> FaultyLines;  ///< from 1
  int Lines = 0;
};

/// 0 without content, 1 an assignment, -1 faulty. \param entry receives an assignment
int ReadRow(const std::string& row, Entry& entry);

Profile ReadProfile(const std::string& text);

/// What the faulty rows make the server say.
std::string FaultyRowReports(const Profile& profile, const std::string& path);

/// A text of digits as a number, cut to 32 bits; one too large for 64 bits counts as the largest.
int NumberOfDigits(const std::string& digits);

}  // namespace model

#endif
