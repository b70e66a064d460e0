#include "kaMessageTxt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "output_of.h"
#include "support/temp_dir.h"

namespace {

constexpr const char* kBlanks = " \t\n\v\f\r";

/// A row with the class id in its columns and a text from column 14 on.
std::string Row(const std::string& id, const std::string& text) {
  return (id + "        ").substr(0, 8) + "------" + text + "\n";
}

std::string UnknownClass(const std::string& id) {
  return "Meldungsfehler!! Die Klasse " + id +
         " ist nicht in der Tabelle der geforderten Sprache enthalten. \n";
}

std::string UnknownNumber(const std::string& id) {
  return "Meldungsfehler!! Die Klasse " + id + " hat keine Meldung mit der geforderten Nummer. \n";
}

class MessageTxt : public testing::Test {
 protected:
  /// Adds a language with this content.
  int Add(const std::string& content) {
    return Catalogue.AddLanguageItem(Directory.Write("language.csv", content));
  }

  void ExpectBlock(std::size_t entry, std::uint32_t id, std::uint32_t pos, std::uint32_t count) {
    EXPECT_EQ(Catalogue.ClassIDPos.at(entry).nClassID, id) << entry;
    EXPECT_EQ(Catalogue.ClassIDPos.at(entry).nIDPos, pos) << entry;
    EXPECT_EQ(Catalogue.ClassIDPos.at(entry).nIDCount, count) << entry;
  }

  support::TempDir Directory;
  CkaMessageTxt Catalogue;
};

/// What a file is read into, by the plainest code.
struct ExpectedTable {
  struct Block {
    std::uint32_t Id;
    std::uint32_t Pos;
    std::uint32_t Count;
  };
  std::vector<std::string> Rows;
  std::vector<Block> Blocks;
};

std::string WithLineBreaks(std::string text) {
  for (auto pos = text.find("\\n"); pos != std::string::npos; pos = text.find("\\n", pos + 1)) {
    text.replace(pos, 2, "\n");
  }
  return text;
}

/// \pre the text has six characters and one that is not blank
ExpectedTable ReadPlainly(const std::string& text) {
  ExpectedTable table;
  const std::size_t absend = text.find_last_not_of(kBlanks);
  std::size_t begin = 0;
  std::size_t end = 0;
  int lastid = 999999999;
  for (std::uint32_t row = 0; row <= 100 && end != absend; ++row) {
    const int id = static_cast<int>(std::strtol(text.c_str() + begin, nullptr, 10));
    if (id == lastid) {
      ++table.Blocks.back().Count;
    } else {
      table.Blocks.push_back({static_cast<std::uint32_t>(id), row, 1});
      lastid = id;
    }
    begin += 14;
    end = std::min(text.find('\n', begin), absend);
    table.Rows.push_back(begin <= end ? WithLineBreaks(text.substr(begin, end - begin + 1)) : "");
    begin = end + 1;
  }
  return table;
}

std::string RandomText(std::mt19937& random, const std::string& alphabet, std::size_t size) {
  std::string text(size, ' ');
  std::generate(text.begin(), text.end(), [&] { return alphabet[random() % alphabet.size()]; });
  return text;
}

/// Asks for everything that a hostile catalogue could break.
void AskForEverything(CkaMessageTxt& catalogue) {
  for (const unsigned int id : {0U, 1U, 1000U, 999999U, 999999999U, 4294967295U}) {
    for (const unsigned int number : {0U, 1U, 100U, 101U, 2147483648U, 4294967295U}) {
      for (const int language : {0, 1, 2, -1, 2147483647}) {
        const std::string text = catalogue.GiveOutAsString(language, id, number);
        EXPECT_STREQ(catalogue.GiveOutAsPChar(language, id, number), text.c_str());
      }
    }
  }
}

}  // namespace

TEST_F(MessageTxt, StartsEmpty) {
  EXPECT_EQ(Catalogue._KA_THISCLASS_MSG_ID, 0U);
  EXPECT_EQ(Catalogue.MsgDataId, 0U);
  EXPECT_FALSE(Catalogue.bIsInitialized);
  EXPECT_EQ(Catalogue.nLanguageCount, 0);
  EXPECT_EQ(Catalogue.strPrefix, "");
  static_assert(std::has_virtual_destructor_v<CkaMessageTxt>);
}

TEST_F(MessageTxt, EmptyClassEntriesMatchNoClass) {
  for (const unsigned int id : {0U, 1000U, 3000U, 7000U, 11000U, 999999U, 4294967294U}) {
    EXPECT_EQ(Catalogue.GiveOutAsString(0, id, 0), UnknownClass(std::to_string(id)));
  }
}

TEST_F(MessageTxt, ConstructorReadsTheFirstLanguage) {
  const CkaMessageTxt catalogue("not used", Directory.Write("de.csv", Row("1000", "hallo")));
  EXPECT_TRUE(catalogue.bIsInitialized);
  EXPECT_EQ(catalogue.nLanguageCount, 1);
  EXPECT_EQ(catalogue.GiveOutAsString(0, 1000, 0), "hallo");
}

TEST_F(MessageTxt, ConstructorWithAMissingFileIsNotInitialised) {
  const std::string missing = Directory.Sub("missing.csv");
  bool initialised = true;
  const Printed printed =
      OutputOf([&] { initialised = CkaMessageTxt("de", missing).bIsInitialized; });
  EXPECT_FALSE(initialised);
  EXPECT_EQ(printed, OnlyErr("File does not exist: \"" + missing + "\" !! \n"));
}

TEST_F(MessageTxt, SetMsgIdStoresTheId) {
  Catalogue.SetMsgId(17);
  EXPECT_EQ(Catalogue.MsgDataId, 17U);
  EXPECT_EQ(Catalogue._KA_THISCLASS_MSG_ID, 0U);
}

TEST_F(MessageTxt, SetPrefixReplacesThePrefix) {
  char characters[] = "c: ";
  Catalogue.SetPrefix(std::string("a: "));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1, 0), "a: " + UnknownClass("1"));
  Catalogue.SetPrefix("b: ");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1, 0), "b: " + UnknownClass("1"));
  Catalogue.SetPrefix(characters);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1, 0), "c: " + UnknownClass("1"));
}

TEST_F(MessageTxt, FileOfFiveCharactersIsRejected) {
  EXPECT_EQ(Add("1000 "), -1);
  EXPECT_EQ(Add("1000x"), -1);
  EXPECT_EQ(Add(""), -1);
  EXPECT_EQ(Catalogue.nLanguageCount, 0);
  EXPECT_FALSE(Catalogue.bIsInitialized);
}

TEST_F(MessageTxt, FileOfSixCharactersIsAccepted) {
  EXPECT_EQ(Add("1000xy"), 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "");
}

TEST_F(MessageTxt, MissingFileIsRejectedByMinusOne) {
  const std::string missing = Directory.Sub("missing.csv");
  int result = 0;
  EXPECT_EQ(OutputOf([&] { result = Catalogue.AddLanguageItem(missing); }),
            OnlyErr("File does not exist: \"" + missing + "\" !! \n"));
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Catalogue.nLanguageCount, 0);
}

TEST_F(MessageTxt, RejectedFileLeavesItsIndexToTheNext) {
  EXPECT_EQ(Add("short"), -1);
  EXPECT_EQ(Add(Row("1000", "deutsch")), 1);
  EXPECT_EQ(Add("short"), -1);
  EXPECT_EQ(Catalogue.nLanguageCount, 1);
  EXPECT_TRUE(Catalogue.bIsInitialized);
  EXPECT_EQ(Add(Row("1000", "english")), 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "deutsch");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 1000, 0), "english");
}

TEST_F(MessageTxt, GermanThenEnglishGivesOneThenTwo) {
  EXPECT_EQ(Add(Row("1000", "Der Server läuft.") + Row("7000", "x")), 1);
  EXPECT_EQ(Add(Row("1000", "The server runs.") + Row("7000", "x")), 2);
  EXPECT_EQ(Catalogue.nLanguageCount, 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "Der Server läuft.\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 1000, 0), "The server runs.\n");
}

TEST_F(MessageTxt, ThirdLanguageIsRefused) {
  Add(Row("1000", "deutsch"));
  Add(Row("1000", "english"));
  EXPECT_EQ(Add(Row("2000", "français") + Row("2000", "français")), -1);
  EXPECT_EQ(Catalogue.nLanguageCount, 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "deutsch");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 1000, 0), "english");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 2000, 0), UnknownClass("2000"));
}

TEST_F(MessageTxt, AllFormsOfAddLanguageItemReadTheSameFile) {
  const std::string path = Directory.Write("de.csv", Row("1000", "text"));
  std::string characters = path;
  std::string directory = Directory.Path() + "/";
  CkaMessageTxt other;
  EXPECT_EQ(Catalogue.AddLanguageItem(path), 1);
  EXPECT_EQ(Catalogue.AddLanguageItem(path.c_str()), 2);
  EXPECT_EQ(other.AddLanguageItem(characters.data()), 1);
  EXPECT_EQ(other.AddLanguageItem(directory.data(), "de.csv"), 2);
  EXPECT_EQ(other.strLanguageText, Catalogue.strLanguageText);
}

TEST_F(MessageTxt, PathAndFileNameAreJoinedWithNothingBetween) {
  Directory.Write("de.csv", Row("1000", "text"));
  std::string directory = Directory.Path();
  int result = 0;
  const Printed printed =
      OutputOf([&] { result = Catalogue.AddLanguageItem(directory.data(), "de.csv"); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(printed, OnlyErr("File does not exist: \"" + directory + "de.csv\" !! \n"));
}

TEST_F(MessageTxt, RelativePathStandsBelowTheServersRoot) {
  const support::ServerRoot root(Directory.Path());
  Directory.Write("messages/de.csv", Row("1000", "text"));
  EXPECT_EQ(Catalogue.AddLanguageItem("messages/de.csv"), 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "text");
}

TEST_F(MessageTxt, LoadLanguageDataKeepsTheWholeTextAndDoesNotCount) {
  const std::string content = Row("1000", "text") + " \n";
  std::string path = Directory.Write("de.csv", content);
  EXPECT_TRUE(Catalogue.LoadLanguageData(1, path.data()));
  EXPECT_EQ(Catalogue.strLanguageText[1], content);
  EXPECT_EQ(Catalogue.nLanguageCount, 0);
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 1000, 0), "text");
}

TEST_F(MessageTxt, ParseLanguageDataReadsTheStoredText) {
  Catalogue.strLanguageText[0] = Row("1000", "stored");
  EXPECT_TRUE(Catalogue.ParseLanguageData(0));
  EXPECT_EQ(Catalogue.strLanguageTable[0][0], "stored");
  EXPECT_FALSE(Catalogue.ParseLanguageData(1));
}

TEST_F(MessageTxt, OnlyTwoLanguagesCanBeLoadedAndParsed) {
  std::string path = Directory.Write("de.csv", Row("1000", Row("7000", "a row in a row")));
  ASSERT_TRUE(Catalogue.LoadLanguageData(0, path.data()));
  for (const int index : {-1, 2, 2147483647}) {
    EXPECT_FALSE(Catalogue.LoadLanguageData(index, path.data())) << index;
    EXPECT_FALSE(Catalogue.ParseLanguageData(index)) << index;
  }
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "7000    ------a row in a row");
}

TEST_F(MessageTxt, RowsOfOneClassMakeABlock) {
  Add(Row("1000", "a") + Row("1000", "b") + Row("1000", "c") + Row("7000", "d") + Row("7000", "e"));
  ExpectBlock(0, 1000, 0, 3);
  ExpectBlock(1, 7000, 3, 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 1), "e");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 2), UnknownNumber("7000"));
}

TEST_F(MessageTxt, MessageTwoOfAnUnknownClassNamesTheClass) {
  Catalogue.SetPrefix("ka-TTS-Server error: ");
  Add(Row("1000", "a"));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 4000, 2), "ka-TTS-Server error: " + UnknownClass("4000"));
}

TEST_F(MessageTxt, BackslashNBreaksTheLine) {
  Add(Row("1000", "one\\ntwo") + Row("1000", "\\n\\n\\x\\\\n") + Row("1000", "end"));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "one\ntwo\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 1), "\n\n\\x\\\n\n");
}

TEST_F(MessageTxt, RowKeepsItsLineEndExceptTheLast) {
  Add(Row("1000", "first ") + Row("1000", "last") + " \t\r\n\v\f\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "first \n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 1), "last");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 2), UnknownNumber("1000"));
}

TEST_F(MessageTxt, CarriageReturnIsPartOfTheText) {
  Add("1000    ------a\r\n1000    ------b\r\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "a\r\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 1), "b");
}

TEST_F(MessageTxt, ColumnsBeforeTheTextAreNotRead) {
  Add("1000;;;;999\"\"\"text\n  1000xxxxxxxxtext\n");
  ExpectBlock(0, 1000, 0, 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "text\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 1), "text");
}

TEST_F(MessageTxt, RowWithoutANumberCountsAsClassZero) {
  Add(Row("1000", "a") + Row("class", "b"));
  ExpectBlock(1, 0, 1, 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 0, 0), "b");
}

TEST_F(MessageTxt, ShortRowTakesTheBeginningOfTheNext) {
  Add("1000\nABCDEFGHIJKLMNOP\n" + Row("7000", "x"));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "JKLMNOP\n");
  ExpectBlock(1, 7000, 1, 1);
}

TEST_F(MessageTxt, BlankRowTakesTheIdOfTheNext) {
  Add(Row("1000", "a") + "\n" + Row("2000", "bcd") + Row("3000", "e"));
  ExpectBlock(1, 2000, 1, 1);
  ExpectBlock(2, 3000, 2, 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 2000, 0), "-bcd\n");
}

TEST_F(MessageTxt, InterruptedClassIsFoundByItsFirstBlockOnly) {
  Add(Row("1000", "a") + Row("2000", "b") + Row("1000", "c"));
  ExpectBlock(2, 1000, 2, 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 0), "a\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 1), UnknownNumber("1000"));
}

TEST_F(MessageTxt, RowsZeroToHundredOf150AreRead) {
  std::string rows;
  for (int i = 0; i < 150; ++i)
    rows += Row("1000", std::to_string(i));
  EXPECT_EQ(Add(rows), 1);
  ExpectBlock(0, 1000, 0, 101);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 99), "99\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 100), "100\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 101), UnknownNumber("1000"));
}

TEST_F(MessageTxt, BlocksBeyondFifteenAreIgnored) {
  std::string rows;
  for (int i = 1; i <= 20; ++i)
    rows += Row(std::to_string(i), "a") + Row(std::to_string(i), "b");
  EXPECT_EQ(Add(rows), 1);
  ExpectBlock(14, 15, 28, 2);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 15, 1), "b\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 16, 0), UnknownClass("16"));
  EXPECT_EQ(Catalogue.strLanguageTable[0][39], "b");
}

TEST_F(MessageTxt, ClassTableIsTheOneOfTheLanguageReadLast) {
  Add(Row("1000", "a") + Row("1000", "b") + Row("7000", "c"));
  Add(Row("7000", "C") + Row("1000", "A"));
  ExpectBlock(0, 7000, 0, 1);
  ExpectBlock(1, 1000, 1, 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 0), "a\n");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 7000, 0), "C\n");
}

TEST_F(MessageTxt, EntriesBeyondTheLastFilesBlocksStay) {
  Add(Row("1000", "a") + Row("2000", "b") + Row("3000", "c"));
  Add(Row("1000", "A"));
  ExpectBlock(0, 1000, 0, 1);
  ExpectBlock(1, 2000, 1, 1);
  ExpectBlock(2, 3000, 2, 1);
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 3000, 0), "c");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 3000, 0), "");
}

TEST_F(MessageTxt, LargestNumberWrapsToTheRowBeforeTheBlock) {
  Add(Row("1000", "a") + Row("7000", "b"));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 4294967295U), "a\n");
}

TEST_F(MessageTxt, RowOutsideTheTableGivesNoText) {
  Add(Row("1000", "a"));
  Catalogue.SetPrefix("p: ");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 1000, 4294967295U), "p: ");
}

TEST_F(MessageTxt, FirstRowBehindTheTableGivesNoText) {
  Add(Row("1000", "a"));
  Add(Row("1000", "b"));
  Catalogue.ClassIDPos[1] = {7000, 100, 2};
  Catalogue.strLanguageTable[0][100] = "last";
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 0), "last");
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 7000, 1), "");
}

TEST_F(MessageTxt, LanguageIsNotComparedWithTheCount) {
  Add(Row("1000", "a"));
  Catalogue.SetPrefix("p: ");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 1000, 0), "p: ");
  EXPECT_EQ(Catalogue.GiveOutAsString(1, 2000, 0), "p: " + UnknownClass("2000"));
}

TEST_F(MessageTxt, GiveOutAsPCharGivesTheSameText) {
  Add(Row("1000", "a") + Row("1000", "b"));
  Catalogue.SetPrefix("p: ");
  const char* text = Catalogue.GiveOutAsPChar(0, 1000, 0);
  EXPECT_STREQ(text, "p: a\n");
  EXPECT_EQ(Catalogue.GiveOutAsPChar(0, 9, 0), "p: " + UnknownClass("9"));
}

TEST_F(MessageTxt, CoutWritesTheTextAndALineEndToStandardOutput) {
  Add(Row("1000", "a") + Row("1000", "b"));
  Catalogue.SetPrefix("p: ");
  EXPECT_EQ(OutputOf([&] { Catalogue.Cout(0, 1000, 0); }), OnlyOut("p: a\n\n"));
  EXPECT_EQ(OutputOf([&] { Catalogue.Cout(0, 1000, 1); }), OnlyOut("p: b\n"));
  EXPECT_EQ(OutputOf([&] { Catalogue.Cout(0, 9, 1); }), OnlyOut("p: " + UnknownClass("9") + "\n"));
}

TEST_F(MessageTxt, CerrWritesTheTextAndALineEndToStandardError) {
  Add(Row("1000", "a") + Row("1000", "b"));
  Catalogue.SetPrefix("p: ");
  EXPECT_EQ(OutputOf([&] { Catalogue.Cerr(0, 1000, 0); }), OnlyErr("p: a\n\n"));
  EXPECT_EQ(OutputOf([&] { Catalogue.Cerr(0, 1000, 2); }),
            OnlyErr("p: " + UnknownNumber("1000") + "\n"));
}

TEST_F(MessageTxt, RandomTextsAreReadAsByThePlainCode) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    std::mt19937 random(seed);
    std::string text = "1" + RandomText(random, "0123 \n\n\\n-+xyz", 6 + random() % 1500) + "x";
    text += RandomText(random, kBlanks, random() % 4);
    CkaMessageTxt catalogue;
    catalogue.strLanguageText[0] = text;
    ASSERT_TRUE(catalogue.ParseLanguageData(0));
    const ExpectedTable expected = ReadPlainly(text);
    for (std::size_t row = 0; row < expected.Rows.size(); ++row) {
      ASSERT_EQ(catalogue.strLanguageTable[0].at(row), expected.Rows[row]) << seed << ": " << text;
    }
    const std::size_t blocks = std::min<std::size_t>(expected.Blocks.size(), 15);
    for (std::size_t entry = 0; entry < blocks; ++entry) {
      const auto& [id, pos, count] = expected.Blocks[entry];
      ASSERT_EQ(catalogue.ClassIDPos.at(entry).nClassID, id) << seed << ": " << text;
      ASSERT_EQ(catalogue.ClassIDPos.at(entry).nIDPos, pos) << seed << ": " << text;
      ASSERT_EQ(catalogue.ClassIDPos.at(entry).nIDCount, count) << seed << ": " << text;
    }
  }
}

TEST_F(MessageTxt, RandomBytesNeverCrash) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte)
    allBytes += static_cast<char>(byte);
  for (unsigned int seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    CkaMessageTxt catalogue;
    for (int language = 0; language < 3; ++language) {
      catalogue.AddLanguageItem(
          Directory.Write("random", RandomText(random, allBytes, random() % 4000)));
    }
    AskForEverything(catalogue);
  }
}

TEST_F(MessageTxt, FilesOfWhiteSpaceOnlyNeverCrashOrHang) {
  for (const std::size_t size : {6U, 13U, 14U, 15U, 28U, 1000U, 5000U}) {
    for (const char blank : std::string(kBlanks)) {
      CkaMessageTxt catalogue;
      catalogue.AddLanguageItem(Directory.Write("blank", std::string(size, blank)));
      AskForEverything(catalogue);
    }
  }
}

TEST_F(MessageTxt, ExtremeClassIdsNeverCrash) {
  for (const char* id : {"999999999", "-1", "-1000", "2147483647", "2147483648", "4294967295",
                         "99999999999999999999999", "+7", "0"}) {
    CkaMessageTxt catalogue;
    std::string rows;
    for (int i = 0; i < 30; ++i)
      rows += std::string(id) + "      ------------text\n";
    EXPECT_EQ(catalogue.AddLanguageItem(Directory.Write("extreme", rows)), 1) << id;
    AskForEverything(catalogue);
  }
}

TEST_F(MessageTxt, NegativeIdIsItsUnsignedNumber) {
  Add(Row("-1", "a") + Row("1000", "b"));
  EXPECT_EQ(Catalogue.GiveOutAsString(0, 4294967295U, 0), "a\n");
}

TEST_F(MessageTxt, OverLongPathIsAMissingFile) {
  const std::string path = Directory.Path() + "/" + std::string(5000, 'x');
  int result = 0;
  EXPECT_EQ(OutputOf([&] { result = Catalogue.AddLanguageItem(path); }),
            OnlyErr("File does not exist: \"" + path + "\" !! \n"));
  EXPECT_EQ(result, -1);
}
