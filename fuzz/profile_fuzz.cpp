// A profile: NAME 0 TEXT. The text is parsed, and NAME and the names in it are looked up.

#include <algorithm>

#include "kaProfile.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "support/profile_model.h"
#include "target.h"

namespace {

using fuzz::ExpectEqual;

constexpr std::size_t kLookups = 8;

void CheckEntries(const CkaProfile& profile, const model::Profile& expected) {
  ExpectEqual("entries", profile.ProfValues.size(), expected.Entries.size());
  for (std::size_t i = 0; i < expected.Entries.size(); ++i) {
    ExpectEqual("name", profile.GetVarName(static_cast<int>(i)), expected.Entries[i].Name);
    ExpectEqual("value", profile.GetValueAt(static_cast<int>(i)), expected.Entries[i].Value);
  }
  ExpectEqual("name behind the end", profile.GetVarName(profile.GetVarCount()), "");
}

std::string NoIntegerReports(const std::string& value) {
  std::string reports;
  for (std::size_t i = 0; i < value.size(); ++i)
    reports += "Kein Integer!\n";
  return reports;
}

void CheckNumber(const CkaProfile& profile, const std::string& name, const std::string& value) {
  fuzz::Output output;
  const int number = profile.GetValueInt(name);
  const bool isNumber =
      std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
  ExpectEqual("number", number, isNumber ? model::NumberOfDigits(value) : 0);
  ExpectEqual("number's report", output.Err(), isNumber ? "" : NoIntegerReports(value));
}

void CheckLookup(const CkaProfile& profile, const model::Profile& expected,
                 const std::string& name) {
  std::size_t pos = 0;
  while (pos < expected.Entries.size() && expected.Entries[pos].Name != name)
    ++pos;
  const bool found = pos < expected.Entries.size();
  const std::string value = found ? expected.Entries[pos].Value : "";

  fuzz::Output output;
  ExpectEqual("position", profile.GetVarPos(name), found ? static_cast<int>(pos) : -1);
  ExpectEqual("looked-up value", profile.GetValueString(name), value);
  ExpectEqual("echo", output.Out(),
              "GetValueString: " + name + "=" + (found ? value : "Not Found") + "\n");
  CheckNumber(profile, name, value);
}

void CheckRow(const std::string& row) {
  CkaProfile profile;
  model::Entry entry;
  const int kind = model::ReadRow(row, entry);
  ExpectEqual("kind of row", profile.CheckRow(row), kind);
  ExpectEqual("entries of row", profile.GetVarCount(), kind == 1 ? 1 : 0);
  ExpectEqual("name of row", profile.GetVarName(0), entry.Name);
  ExpectEqual("value of row", profile.GetValueAt(0), entry.Value);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::string name = input.TakePart();
  const std::string text = input.Rest();
  const model::Profile expected = model::ReadProfile(text);

  CkaProfile profile;
  profile.strFilePath = "/station.kacfg";
  {
    fuzz::Output output;
    ExpectEqual("lines", profile.ParseProfileString(text), expected.Lines + 1);
    ExpectEqual("faulty rows", output.Err(),
                model::FaultyRowReports(expected, profile.strFilePath));
    ExpectEqual("nothing else", output.Out(), "");
  }
  CheckEntries(profile, expected);
  CheckLookup(profile, expected, name);
  for (std::size_t i = 0; i < std::min(kLookups, expected.Entries.size()); ++i)
    CheckLookup(profile, expected, expected.Entries[i].Name);
  CheckRow(text);
  CheckRow(name);
  return 0;
}
