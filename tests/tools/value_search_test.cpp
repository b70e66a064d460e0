#include "coverage/value_search.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

using tools::ValueFor;

struct Found {
  std::optional<std::string> True;
  std::optional<std::string> False;

  bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* out) {
  *out << "true with " << found.True.value_or("nothing") << ", false with "
       << found.False.value_or("nothing");
}

/// The values for a document's only case.
Found Search(const std::string& attributes, bool mayBeEmpty = true) {
  const support::TempDir dir;
  const std::string document =
      dir.Write("station.xml", "<S><Assembly><Case id=\"c\" " + attributes + "/></Assembly></S>");
  CkaCases cases;
  EXPECT_TRUE(cases.Initialize(document, false, false) && cases.ReadCases());
  return {ValueFor(cases, 0, true, mayBeEmpty), ValueFor(cases, 0, false, mayBeEmpty)};
}

TEST(ValueSearch, Texts) {
  const std::string first = R"(substr="a" type="string" begin="0" end="0" )";
  const std::string whole = R"(substr="a" type="string" begin="0" end="-1" )";
  EXPECT_EQ(Search(first + R"(operator="eq" value="D")"), (Found{"D", "x"}));
  EXPECT_EQ(Search(first + R"(operator="ne" value="D")"), (Found{"x", "D"}));
  EXPECT_EQ(Search(whole + R"(operator="has" value="XY")"), (Found{"XY", ""}));
  EXPECT_EQ(Search(whole + R"(operator="hasnot" value="XY")"), (Found{"", "XY"}));
  EXPECT_EQ(Search(whole + R"(operator="eq" value="")"), (Found{"", "x"}));
}

TEST(ValueSearch, EmptyValueIsNoAnswerWhereTheBlockNeedsOne) {
  const std::string whole = R"(substr="a" type="string" begin="0" end="-1" )";
  EXPECT_EQ(Search(whole + R"(operator="has" value="XY")", false), (Found{"XY", "x"}));
  EXPECT_EQ(Search(whole + R"(operator="eq" value="")", false), (Found{std::nullopt, "x"}));
}

TEST(ValueSearch, PartBehindTheBegin) {
  EXPECT_EQ(Search(R"(substr="a" type="string" begin="1" end="1" operator="eq" value="-")"),
            (Found{"x-", "xx"}));
  EXPECT_EQ(Search(R"(substr="a" type="number" begin="3" end="-1" operator="ge" value="2")"),
            (Found{"0002", "0001"}));
}

TEST(ValueSearch, Numbers) {
  const std::string whole = R"(substr="a" type="number" begin="0" end="-1" )";
  EXPECT_EQ(Search(whole + R"(operator="lt" value="5")"), (Found{"4", "5"}));
  EXPECT_EQ(Search(whole + R"(operator="gt" value="5")"), (Found{"6", "5"}));
  EXPECT_EQ(Search(whole + R"(operator="le" value="5")"), (Found{"5", "6"}));
  EXPECT_EQ(Search(whole + R"(operator="ge" value="5")"), (Found{"5", "4"}));
  EXPECT_EQ(Search(whole + R"(operator="eq" value="5")"), (Found{"5", "6"}));
  EXPECT_EQ(Search(whole + R"(operator="ne" value="5")"), (Found{"6", "5"}));
  EXPECT_EQ(Search(whole + R"(operator="lt" value="0")"), (Found{"-1", "0"}));
  EXPECT_EQ(Search(R"(substr="a" type="number" begin="0" end="2" operator="le" value="10")"),
            (Found{"010", "011"}));
}

TEST(ValueSearch, Lengths) {
  EXPECT_EQ(Search(R"(strlen="a" operator="gt" value="0")"), (Found{"x", ""}));
  EXPECT_EQ(Search(R"(strlen="a" operator="eq" value="2")"), (Found{"xx", ""}));
  EXPECT_EQ(Search(R"(strlen="a" operator="lt" value="0")"), (Found{std::nullopt, ""}));
}

TEST(ValueSearch, NothingForAPartThatIsTooShortForItsText) {
  EXPECT_EQ(Search(R"(substr="a" type="string" begin="0" end="2" operator="eq" value="Hamburg")"),
            (Found{std::nullopt, "Hamburg"}));
}

TEST(ValueSearch, NothingWhereEveryValueEndsTheBlock) {
  EXPECT_EQ(Search(R"(substr="a" type="string" begin="-1" end="-1" operator="eq" value="D")"),
            (Found{std::nullopt, std::nullopt}));
}

TEST(ValueSearch, ValuesAreWrittenAsABlockHasThem) {
  const std::string whole = R"(substr="a" type="string" begin="0" end="-1" )";
  EXPECT_EQ(Search(whole + R"(operator="eq" value="&lt;&quot;&amp;")"), (Found{"<\"&", "<"}));
  EXPECT_EQ(Search(whole + R"(operator="eq" value="\e1")").True, "\\e1");
  EXPECT_EQ(Search(whole + R"(operator="eq" value="Köln")").True, "Köln");
}

}  // namespace

}  // namespace toolstest
