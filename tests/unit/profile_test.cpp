#include "kaProfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "output_of.h"
#include "support/temp_dir.h"

namespace {

using Entry = CkaProfile::ProfileEntry;

class Profile : public testing::Test {
 protected:
  void ExpectEntries(const std::vector<std::pair<std::string, std::string>>& expected) const {
    ASSERT_EQ(Config.ProfValues.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(Config.ProfValues[i].var, expected[i].first) << i;
      EXPECT_EQ(Config.ProfValues[i].value, expected[i].second) << i;
    }
  }

  support::TempDir Directory;
  CkaProfile Config;
};

/// Adds the assignment `name="value"`.
void Assign(CkaProfile& profile, const std::string& name, const std::string& value) {
  profile.ProfValues.push_back({name, value});
}

std::string FaultyRow(const std::string& path, int line) {
  return "Fehler beim Einlesen von Profil " + path + "\nZeile Nr. " + std::to_string(line) +
         "ist fehlerhaft.\n\n";
}

/// The assignment of a row by the plainest code; nothing for a faulty row.
std::optional<Entry> ReadPlainly(const std::string& row) {
  const auto equals = row.find('=');
  if (equals == std::string::npos || equals == 0) return std::nullopt;
  const auto doubleQuote = row.find('"', equals);
  const auto open = doubleQuote != std::string::npos ? doubleQuote : row.find('\'', equals);
  if (open == std::string::npos) return std::nullopt;
  auto close = row.rfind('"');
  if (close == std::string::npos) close = row.rfind('\'');
  if (close <= open) return std::nullopt;
  return Entry{row.substr(0, equals), row.substr(open + 1, close - open - 1)};
}

std::string RandomRow(std::mt19937& random, const std::string& alphabet) {
  std::string row(random() % 14, ' ');
  std::generate(row.begin(), row.end(), [&] { return alphabet[random() % alphabet.size()]; });
  return row;
}

}  // namespace

TEST_F(Profile, StartsEmpty) {
  EXPECT_EQ(Config.GetClassMsgID(), 9000U);
  EXPECT_EQ(Config.GetVarCount(), 0);
  EXPECT_EQ(Config.strFilePath, "");
  EXPECT_FALSE(Config.bIsInitialized);
}

TEST_F(Profile, CommentSectionBlankAndAssignmentYieldOneEntry) {
  const std::string path =
      Directory.Write("p", "# comment=\"1\"\n[section=\"2\"]\n \t\r\v\f\nname=\"value\"\n");
  bool result = false;
  EXPECT_EQ(OutputOf([&] { result = Config.Initialize(path); }), Nothing());
  EXPECT_TRUE(result);
  ExpectEntries({{"name", "value"}});
}

TEST_F(Profile, IndentedCommentAndSectionAreIgnored) {
  for (const char* row : {"", " ", "\t\n\r\v\f", "#", "  # a=\"1\"", "\t[x", "[", "\v\f#"}) {
    EXPECT_EQ(Config.CheckRow(row), 0) << row;
  }
  EXPECT_EQ(Config.GetVarCount(), 0);
}

TEST_F(Profile, AssignmentsAreTakenApart) {
  const struct {
    const char* Row;
    const char* Name;
    const char* Value;
  } rows[] = {
      {"reginputport=\"5001\"", "reginputport", "5001"},
      {"engineName='speakout'", "engineName", "speakout"},
      {" \t\v\f name=\"value\"", "name", "value"},
      {"port =\"5001\"", "port ", "5001"},
      {"a b = \"x\"", "a b ", "x"},
      {"a=\"\"", "a", ""},
      {"a=''", "a", ""},
      {"a=\" x \"", "a", " x "},
      {"a=\"x=y\"", "a", "x=y"},
      {"a=\"it's\"", "a", "it's"},
      {"a='it's'", "a", "it's"},
      {"a=\"x\"y\"", "a", "x\"y"},
      {"a=\"x\"\r", "a", "x"},
      {"a=\"x\" # note", "a", "x"},
      {"a=b\"x\"", "a", "x"},
      {"a='x' \"y\"", "a", "y"},
      {"a#b=\"x\"", "a#b", "x"},
      {"a[b]=\"x\"", "a[b]", "x"},
      {"\"a\"=\"x\"", "\"a\"", "x"},
      {"a'b=\"x\"", "a'b", "x"},
      {"a'b='x'", "a'b", "x"},
      {"playprefix=\" \\audio(play=\"", "playprefix", " \\audio(play="},
  };
  for (const auto& [row, name, value] : rows) {
    CkaProfile profile;
    EXPECT_EQ(profile.CheckRow(row), 1) << row;
    ASSERT_EQ(profile.GetVarCount(), 1) << row;
    EXPECT_EQ(profile.GetVarName(0), name) << row;
    EXPECT_EQ(profile.GetValueAt(0), value) << row;
  }
}

TEST_F(Profile, FaultyRowsAreRejected) {
  for (const char* row :
       {"a",        "a=",       "a=1",   "=\"1\"", " =\"1\"", "='1'",   "a=\"",
        "a='",      "a=\"1",    "a='1",  "a=1\"",  "\"a\"",   "a=\"1'", "a='x\"y'",
        "a\"b=\"x", "a\"b='x'", "'a'=1", "\"=x\"", "a:\"1\"", "]",      "\xff"}) {
    EXPECT_EQ(Config.CheckRow(row), -1) << row;
  }
  EXPECT_EQ(Config.GetVarCount(), 0);
}

TEST_F(Profile, BlanksBeforeTheEqualSignBelongToTheName) {
  Config.ParseProfileString("port =\"5001\"");
  EXPECT_EQ(Config.GetVarPos("port "), 0);
  EXPECT_EQ(Config.GetVarPos("port"), -1);
}

TEST_F(Profile, ParseRowAppendsTheAssignment) {
  EXPECT_FALSE(Config.ParseRow("a=1"));
  EXPECT_TRUE(Config.ParseRow("a=\"1\""));
  EXPECT_TRUE(Config.ParseRow("a=\"2\""));
  ExpectEntries({{"a", "1"}, {"a", "2"}});
}

TEST_F(Profile, BlankRowIsNoAssignment) {
  for (const char* row : {"", " ", " \t\r\v\f"})
    EXPECT_FALSE(Config.ParseRow(row)) << '"' << row << '"';
  ExpectEntries({});
}

TEST_F(Profile, RandomRowsAreReadAsByThePlainCode) {
  for (unsigned int seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    const std::string row = "a" + RandomRow(random, "ab=\"'# [\t\r") + "z";
    CkaProfile profile;
    const std::optional<Entry> expected = ReadPlainly(row);
    ASSERT_EQ(profile.CheckRow(" \t" + row), expected ? 1 : -1) << row;
    ASSERT_EQ(profile.GetVarCount(), expected ? 1 : 0) << row;
    if (!expected) continue;
    ASSERT_EQ(profile.GetVarName(0), expected->var) << row;
    ASSERT_EQ(profile.GetValueAt(0), expected->value) << row;
  }
}

TEST_F(Profile, ParseProfileStringReturnsTheRowsPlusOne) {
  EXPECT_EQ(Config.ParseProfileString(""), 2);
  EXPECT_EQ(Config.ParseProfileString("a=\"1\""), 2);
  EXPECT_EQ(Config.ParseProfileString("a=\"1\"\n"), 3);
  EXPECT_EQ(Config.ParseProfileString("#\n\nb=\"1\""), 4);
  ExpectEntries({{"a", "1"}, {"a", "1"}, {"b", "1"}});
}

TEST_F(Profile, LastRowWithoutALineEndIsRead) {
  ASSERT_TRUE(Config.Initialize(Directory.Write("p", "a=\"1\"\nb=\"2\"")));
  ExpectEntries({{"a", "1"}, {"b", "2"}});
}

TEST_F(Profile, FaultyRowOnLineThreeIsReportedAndTheOthersAreKept) {
  const std::string path = Directory.Write("p", "a=\"1\"\n\nb=2\nc=\"3\"\nd\n");
  bool result = false;
  EXPECT_EQ(OutputOf([&] { result = Config.Initialize(path); }),
            OnlyErr(FaultyRow(path, 3) + FaultyRow(path, 5)));
  EXPECT_TRUE(result);
  ExpectEntries({{"a", "1"}, {"c", "3"}});
}

TEST_F(Profile, FaultyTextWithoutAFileIsReportedWithAnEmptyPath) {
  EXPECT_EQ(OutputOf([&] { Config.ParseProfileString("x"); }), OnlyErr(FaultyRow("", 1)));
}

TEST_F(Profile, MissingFileIsReportedAndKeepsTheEntries) {
  Assign(Config, "old", "1");
  Config.strFilePath = "before";
  const std::string missing = Directory.Sub("missing");
  bool result = true;
  EXPECT_EQ(OutputOf([&] { result = Config.Initialize(missing); }),
            OnlyErr("Profil-Datei nicht vorhanden:" + missing + "\n"));
  EXPECT_FALSE(result);
  ExpectEntries({{"old", "1"}});
  EXPECT_EQ(Config.strFilePath, "before");
}

TEST_F(Profile, MissingFileIsReportedByItsUnresolvedPath) {
  const support::ServerRoot root(Directory.Path());
  EXPECT_EQ(OutputOf([&] { Config.Initialize("./kaconfig/none"); }),
            OnlyErr("Profil-Datei nicht vorhanden:./kaconfig/none\n"));
}

TEST_F(Profile, RelativePathStandsBelowTheServersRoot) {
  const support::ServerRoot root(Directory.Path());
  const std::string path = Directory.Write("kaconfig/p", "a=\"1\"\nfaulty\n");
  EXPECT_EQ(OutputOf([&] { Config.Initialize("./kaconfig/p"); }), OnlyErr(FaultyRow(path, 2)));
  EXPECT_EQ(Config.strFilePath, path);
}

TEST_F(Profile, InitializeReplacesTheEntries) {
  Assign(Config, "old", "1");
  ASSERT_TRUE(Config.Initialize(Directory.Write("p", "new=\"2\"")));
  ExpectEntries({{"new", "2"}});
}

TEST_F(Profile, AllFormsOfInitializeReadTheFile) {
  std::string path = Directory.Write("p", "a=\"1\"");
  EXPECT_TRUE(Config.Initialize(path));
  EXPECT_TRUE(Config.Initialize(path.c_str()));
  EXPECT_TRUE(Config.Initialize(path.data()));
  ExpectEntries({{"a", "1"}});
}

TEST_F(Profile, FlagIsNeverSet) {
  ASSERT_TRUE(Config.Initialize(Directory.Write("p", "a=\"1\"")));
  EXPECT_FALSE(Config.bIsInitialized);
}

TEST_F(Profile, DirectoryIsAProfileWithoutEntries) {
  Assign(Config, "old", "1");
  bool result = false;
  EXPECT_EQ(OutputOf([&] { result = Config.Initialize(Directory.Path()); }), Nothing());
  EXPECT_TRUE(result);
  EXPECT_EQ(Config.GetVarCount(), 0);
}

TEST_F(Profile, FirstOfSeveralEntriesWins) {
  ASSERT_TRUE(Config.Initialize(Directory.Write("p", "a=\"1\"\na=\"2\"\n")));
  std::string value;
  OutputOf([&] { value = Config.GetValueString("a"); });
  EXPECT_EQ(value, "1");
  EXPECT_EQ(Config.GetVarCount(), 2);
}

TEST_F(Profile, NamesAreFoundExactly) {
  Assign(Config, "name", "1");
  Assign(Config, "Name", "2");
  char characters[] = "Name";
  EXPECT_EQ(Config.GetVarPos("name"), 0);
  EXPECT_EQ(Config.GetVarPos(std::string("Name")), 1);
  EXPECT_EQ(Config.GetVarPos(characters), 1);
  for (const char* other : {"NAME", " name", "name ", "nam", ""}) {
    EXPECT_EQ(Config.GetVarPos(other), -1) << other;
  }
}

TEST_F(Profile, EveryLookupIsEchoed) {
  Assign(Config, "a", "some value");
  Assign(Config, "empty", "");
  char characters[] = "a";
  std::string value;
  EXPECT_EQ(OutputOf([&] { value = Config.GetValueString("a"); }),
            OnlyOut("GetValueString: a=some value\n"));
  EXPECT_EQ(value, "some value");
  EXPECT_EQ(OutputOf([&] { value = Config.GetValueString(characters); }),
            OnlyOut("GetValueString: a=some value\n"));
  EXPECT_EQ(OutputOf([&] { value = Config.GetValueString(std::string("empty")); }),
            OnlyOut("GetValueString: empty=\n"));
  EXPECT_EQ(value, "");
}

TEST_F(Profile, LookupOfAnUnknownNameEchoesNotFound) {
  std::string value = "before";
  EXPECT_EQ(OutputOf([&] { value = Config.GetValueString("b"); }),
            OnlyOut("GetValueString: b=Not Found\n"));
  EXPECT_EQ(value, "");
}

TEST_F(Profile, IntegersAreDigitsOnly) {
  const struct {
    const char* Value;
    int Expected;
    std::size_t Reports;
  } values[] = {
      {"0", 0, 0},   {"7", 7, 0},        {"0042", 42, 0}, {"2147483647", INT_MAX, 0},
      {"12a", 0, 3}, {"-5", 0, 2},       {"+5", 0, 2},    {" 5", 0, 2},
      {"5 ", 0, 2},  {"0x10", 0, 4},     {"1.5", 0, 3},   {"kein", 0, 4},
      {"", 0, 0},    {"\xc3\xa4", 0, 2},
  };
  for (const auto& [value, expected, reports] : values) {
    CkaProfile profile;
    Assign(profile, "n", value);
    std::string errors;
    for (std::size_t i = 0; i < reports; ++i)
      errors += "Kein Integer!\n";
    int result = -1;
    EXPECT_EQ(OutputOf([&] { result = profile.GetValueInt("n"); }),
              (Printed{"GetValueString: n=" + std::string(value) + "\n", errors}));
    EXPECT_EQ(result, expected) << value;
  }
}

TEST_F(Profile, NoIntegerIsReportedOncePerCharacter) {
  Assign(Config, "n", "12a");
  int result = -1;
  const Printed printed = OutputOf([&] { result = Config.GetValueInt("n"); });
  EXPECT_EQ(printed.Err, "Kein Integer!\nKein Integer!\nKein Integer!\n");
  EXPECT_EQ(result, 0);
}

TEST_F(Profile, MissingIntegerIsZeroWithoutAnError) {
  int result = -1;
  EXPECT_EQ(OutputOf([&] { result = Config.GetValueInt("n"); }),
            OnlyOut("GetValueString: n=Not Found\n"));
  EXPECT_EQ(result, 0);
}

TEST_F(Profile, AllFormsOfGetValueIntGiveTheValue) {
  Assign(Config, "n", "42");
  char characters[] = "n";
  int sum = 0;
  OutputOf([&] {
    sum = Config.GetValueInt("n") + Config.GetValueInt(characters) +
          Config.GetValueInt(std::string("n"));
  });
  EXPECT_EQ(sum, 126);
}

TEST_F(Profile, OverLongIntegersAreCutAsALongIs) {
  const struct {
    std::string Value;
    int Expected;
  } values[] = {{"2147483648", INT_MIN},     {"4294967296", 0},
                {"4294967303", 7},           {"9223372036854775807", -1},
                {std::string(400, '9'), -1}, {std::string(5000, '0') + "8", 8}};
  for (const auto& [value, expected] : values) {
    CkaProfile profile;
    Assign(profile, "n", value);
    int result = 0;
    const Printed printed = OutputOf([&] { result = profile.GetValueInt("n"); });
    EXPECT_EQ(result, expected) << value;
    EXPECT_EQ(printed.Err, "") << value;
  }
}

TEST_F(Profile, EntryFiveOfFiveIsEmpty) {
  for (const char* name : {"a", "b", "c", "d", "e"})
    Assign(Config, name, name);
  EXPECT_EQ(Config.GetVarName(4), "e");
  EXPECT_EQ(Config.GetValueAt(4), "e");
  EXPECT_EQ(Config.GetVarName(5), "");
  EXPECT_EQ(Config.GetValueAt(5), "");
  EXPECT_EQ(Config.GetVarName(INT_MAX), "");
}

TEST_F(Profile, EntryBehindTheLastIsEmptyAfterALongerList) {
  for (const char* name : {"a", "b", "c"})
    Assign(Config, name, name);
  Config.ProfValues.pop_back();
  EXPECT_EQ(Config.GetVarName(2), "");
  EXPECT_EQ(Config.GetValueAt(2), "");
}

TEST_F(Profile, NegativeEntryIsEmpty) {
  Assign(Config, "a", "1");
  for (const int i : {-1, -2, INT_MIN}) {
    EXPECT_EQ(Config.GetVarName(i), "");
    EXPECT_EQ(Config.GetValueAt(i), "");
  }
}

TEST_F(Profile, HostileRowsNeverCrash) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte)
    allBytes += static_cast<char>(byte);
  for (unsigned int seed = 0; seed < 100; ++seed) {
    std::mt19937 random(seed);
    std::string text;
    for (int row = 0; row < 50; ++row)
      text += RandomRow(random, allBytes + "\n==\"\"''") + "\n";
    bool result = false;
    int rows = 0;
    OutputOf([&] {
      result = Config.Initialize(Directory.Write("hostile", text));
      rows = Config.ParseProfileString(text);
    });
    EXPECT_TRUE(result);
    EXPECT_EQ(rows, std::count(text.begin(), text.end(), '\n') + 2);
  }
}

TEST_F(Profile, RowOfAMillionCharactersIsRead) {
  const std::string value(1000000, '"');
  ASSERT_TRUE(Config.Initialize(Directory.Write("p", "a=\"" + value + "\"")));
  EXPECT_EQ(Config.GetValueAt(0), value);
}

TEST_F(Profile, OverLongPathIsAMissingFile) {
  const std::string path = Directory.Path() + "/" + std::string(5000, 'x');
  bool result = true;
  EXPECT_EQ(OutputOf([&] { result = Config.Initialize(path); }),
            OnlyErr("Profil-Datei nicht vorhanden:" + path + "\n"));
  EXPECT_FALSE(result);
}
