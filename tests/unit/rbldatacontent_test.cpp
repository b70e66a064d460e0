#include "kaRBLDataContent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <string>

#include "hostile_documents.h"
#include "output_of.h"

namespace {

class RblDataContent : public testing::Test {
 protected:
  /// Reads a block.
  void Read(const std::string& block) {
    ASSERT_TRUE(Content.Initialize(block, false, true));
    bool result = false;
    EXPECT_EQ(OutputOf([&] { result = Content.ReadContent(); }), Nothing());
    EXPECT_TRUE(result);
  }

  CkaRBLDataContent Content;
};

/// Reads whatever a client sent, as far as it goes.
void ReadAnything(const std::string& block) {
  CkaRBLDataContent content;
  if (!content.Initialize(block, false, true)) return;
  content.ReadContent();
  for (int row = 0; row <= content.GetRowCount(); ++row)
    content.GetValue(row, "a");
}

}  // namespace

TEST_F(RblDataContent, StartsEmpty) {
  EXPECT_EQ(Content.GetClassMsgID(), 10400U);
  EXPECT_EQ(Content.GetRowCount(), 0);
  EXPECT_EQ(Content.GetValue(0, "a"), "");
}

TEST_F(RblDataContent, RowsHaveTheirOwnAttributes) {
  Read("<rbl>\n<row a='1' b='2'/>\n<row b='3'/>\n</rbl>");
  ASSERT_EQ(Content.GetRowCount(), 2);
  EXPECT_EQ(Content.GetValue(1, "a"), "");
  EXPECT_EQ(Content.GetValue(0, "b"), "2");
  EXPECT_EQ(Content.GetValue(0, "a"), "1");
  EXPECT_EQ(Content.GetValue(1, "b"), "3");
}

TEST_F(RblDataContent, RowBeyondTheBlockHasNoValues) {
  Read("<rbl><row a='1'/><row a='2'/></rbl>");
  for (const int row : {2, 5, INT_MAX})
    EXPECT_EQ(Content.GetValue(row, "a"), "");
}

TEST_F(RblDataContent, NegativeRowThrows) {
  Read("<rbl><row a='1'/></rbl>");
  EXPECT_THROW(Content.GetValue(-1, "a"), std::out_of_range);
  EXPECT_THROW(Content.GetValue(INT_MIN, "none"), std::out_of_range);
  EXPECT_THROW(CkaRBLDataContent().GetValue(-1, "a"), std::out_of_range);
}

TEST_F(RblDataContent, AttributesKeepTheirOrderAndNames) {
  Read("<rbl><row z='1' a='' M='3'/></rbl>");
  const auto& values = Content.Rows.at(0).Values;
  ASSERT_EQ(values.size(), 3U);
  EXPECT_EQ(values[0].Name + values[0].Value, "z1");
  EXPECT_EQ(values[1].Name + values[1].Value, "a");
  EXPECT_EQ(values[2].Name + values[2].Value, "M3");
}

TEST_F(RblDataContent, NamesAreFoundExactly) {
  Read("<rbl><row train='1'/></rbl>");
  for (const char* name : {"Train", "trai", "train ", ""})
    EXPECT_EQ(Content.GetValue(0, name), "");
}

TEST_F(RblDataContent, EmptyValueIsAsGoodAsNone) {
  Read("<rbl><row a=''/></rbl>");
  EXPECT_EQ(Content.GetValue(0, "a"), Content.GetValue(0, "b"));
}

TEST_F(RblDataContent, BackslashEBecomesTheEscapeCharacter) {
  Read("<rbl><row v='x\\ey'/></rbl>");
  EXPECT_EQ(Content.GetValue(0, "v"), "x\x1by");
}

TEST_F(RblDataContent, NestedRowIsNoRow) {
  Read("<rbl><group><row a='1'/></group><row a='2'><row a='3'/></row></rbl>");
  ASSERT_EQ(Content.GetRowCount(), 1);
  EXPECT_EQ(Content.GetValue(0, "a"), "2");
}

TEST_F(RblDataContent, EntitiesInValuesArriveSubstituted) {
  Read("<!DOCTYPE rbl [<!ENTITY e 'mine'>]><rbl><row a='A &amp; B &lt;&#33; &e;'/></rbl>");
  EXPECT_EQ(Content.GetValue(0, "a"), "A & B <! mine");
}

TEST_F(RblDataContent, OnlyRowsOfTheRootCount) {
  Read("<Row x='1'>text<Row a='1'/><rows/><row/>text<!-- c --><row>text</row></Row>");
  EXPECT_EQ(Content.GetRowCount(), 2);
}

TEST_F(RblDataContent, RowWithoutAttributesIsARow) {
  Read("<rbl><row/></rbl>");
  ASSERT_EQ(Content.GetRowCount(), 1);
  EXPECT_TRUE(Content.Rows.at(0).Values.empty());
}

TEST_F(RblDataContent, BlockWithoutRowsHasNone) {
  Read("<rbl/>");
  EXPECT_EQ(Content.GetRowCount(), 0);
}

TEST_F(RblDataContent, ReadingTwiceDuplicatesTheRows) {
  Read("<rbl><row a='1'/><row a='2'/></rbl>");
  Content.ReadContent();
  EXPECT_EQ(Content.GetRowCount(), 4);
  EXPECT_EQ(Content.GetValue(3, "a"), "2");
}

TEST_F(RblDataContent, UninitialisedReaderSaysSoWithALineEnd) {
  EXPECT_EQ(OutputOf([&] { Content.SetMainNodes(); }), OnlyErr("Erst XML initialisieren\n"));
  EXPECT_EQ(Content.pRootNode, nullptr);
}

TEST_F(RblDataContent, MalformedBlockIsRefusedSilently) {
  for (const char* block : {"", "no xml", "<rbl><row></rbl>", "<rbl><row a='1' a='2'/></rbl>"}) {
    bool result = true;
    EXPECT_EQ(OutputOf([&] { result = Content.Initialize(block, false, true); }), Nothing());
    EXPECT_FALSE(result) << block;
  }
}

TEST_F(RblDataContent, EntityBombIsRefused) {
  const NamedDocument bomb = EntityBombs().front();
  EXPECT_FALSE(Content.Initialize(bomb.Text, false, true)) << bomb.Name;
}

TEST_F(RblDataContent, ManyRowsWithManyAttributesAreFound) {
  std::string block = "<rbl>";
  for (int row = 0; row < 500; ++row) {
    block += "<row";
    for (int i = 0; i < 100; ++i) {
      block += " a" + std::to_string(i) + "='" + std::to_string(row * 100 + i) + "'";
    }
    block += "/>";
  }
  Read(block + "</rbl>");
  ASSERT_EQ(Content.GetRowCount(), 500);
  for (int row = 0; row < 500; ++row) {
    for (int i = 0; i < 100; ++i) {
      ASSERT_EQ(Content.GetValue(row, "a" + std::to_string(i)), std::to_string(row * 100 + i));
    }
  }
}

TEST_F(RblDataContent, AttributeWithPrefixIsNotTheOneWithout) {
  Read(
      "<rbl xmlns:p='u'><row a='1' p:a='2'/><row p:a='2' a='1'/><row p:a='2' b='3'/>"
      "<row xml:a='2'/></rbl>");
  EXPECT_EQ(Content.GetValue(0, "a"), "1");
  EXPECT_EQ(Content.GetValue(1, "a"), "1");
  EXPECT_EQ(Content.GetValue(2, "a"), "");
  EXPECT_EQ(Content.GetValue(2, "b"), "3");
  EXPECT_EQ(Content.GetValue(3, "a"), "");
}

TEST_F(RblDataContent, NamespacedAttributesNeverCrash) {
  EXPECT_NO_THROW(ReadAnything("<rbl xmlns:x='u'><row x:a='1' a='2' xmlns='v'/></rbl>"));
  EXPECT_NO_THROW(ReadAnything("<x:rbl xmlns:x='u'><x:row/><row x:a='1'/></x:rbl>"));
}

TEST_F(RblDataContent, MutatedBlocksNeverThrow) {
  const std::string block =
      "<!DOCTYPE rbl [<!ENTITY e 'v'>]><rbl><row a='&e;' b='x'/><row a='\\e'/></rbl>";
  for (unsigned int seed = 0; seed < 5000; ++seed) {
    std::mt19937 random(seed);
    std::string mutated = block;
    for (auto count = 1 + random() % 4; count > 0; --count) {
      mutated[random() % mutated.size()] = static_cast<char>(random() % 256);
    }
    EXPECT_NO_THROW(ReadAnything(mutated)) << mutated;
  }
}
