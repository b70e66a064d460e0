#include "kaRBLDataFormat.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <string>

#include "output_of.h"

namespace {

constexpr const char* kBoundsMessage = "Kleinster Zeilenanzahl Wert größer als Maximalwert! \n";

class RblDataFormat : public testing::Test {
 protected:
  /// Reads an Assembly with this content.
  bool Read(const std::string& assembly) {
    EXPECT_TRUE(Format.Initialize("<doc><Assembly>" + assembly + "</Assembly></doc>", false, true));
    bool result = false;
    Output = OutputOf([&] { result = Format.ReadAssembly(); });
    return result;
  }
  /// Reads a format for up to nine rows with these attributes.
  bool ReadAttributes(const std::string& attributes) {
    return Read("<RBLFormat maxrows='9'>" + attributes + "</RBLFormat>");
  }

  CkaRBLDataFormat Format;
  Printed Output;
};

/// Reads a format with one attribute.
bool IsRequired(const std::string& musthavevalue) {
  CkaRBLDataFormat format;
  format.Initialize("<doc><Assembly><RBLFormat><Attribute musthavevalue='" + musthavevalue +
                        "'/></RBLFormat></Assembly></doc>",
                    false, true);
  EXPECT_TRUE(format.ReadAssembly());
  return format.IsAttributeRequiredAt(0);
}

}  // namespace

TEST_F(RblDataFormat, StartsEmpty) {
  EXPECT_EQ(Format.GetClassMsgID(), 10200U);
  EXPECT_EQ(Format.GetAttributeCount(), 0);
  EXPECT_EQ(Format.GetMinRows(), 0U);
  EXPECT_EQ(Format.GetMaxRows(), 0U);
  EXPECT_EQ(Format.FindAssignedAttribute(""), -1);
}

TEST_F(RblDataFormat, AttributesAreReadInDocumentOrder) {
  ASSERT_TRUE(
      Read("<RBLFormat minrows='1' maxrows='3'>\n"
           "  <Attribute name='train' assignto='zug' musthavevalue='yes'/>\n"
           "  <Attribute name='dest' assignto='ziel'/>\n"
           "</RBLFormat>"));
  EXPECT_EQ(Output, Nothing());
  EXPECT_EQ(Format.GetMinRows(), 1U);
  EXPECT_EQ(Format.GetMaxRows(), 3U);
  ASSERT_EQ(Format.GetAttributeCount(), 2);
  EXPECT_EQ(Format.GetAttributeNameAt(0), "train");
  EXPECT_EQ(Format.GetAttributeAssignAt(0), "zug");
  EXPECT_TRUE(Format.IsAttributeRequiredAt(0));
  EXPECT_EQ(Format.GetAttributeNameAt(1), "dest");
  EXPECT_EQ(Format.GetAttributeAssignAt(1), "ziel");
  EXPECT_FALSE(Format.IsAttributeRequiredAt(1));
}

TEST_F(RblDataFormat, RootAndDataNameStayEmpty) {
  ASSERT_TRUE(ReadAttributes("<Attribute name='a'/>"));
  EXPECT_EQ(Format.RootName, "");
  EXPECT_EQ(Format.DataName, "");
}

TEST_F(RblDataFormat, MissingAttributesHaveTheirDefaults) {
  ASSERT_TRUE(Read("<RBLFormat><Attribute/></RBLFormat>"));
  EXPECT_EQ(Format.GetMinRows(), 0U);
  EXPECT_EQ(Format.GetMaxRows(), 0U);
  ASSERT_EQ(Format.GetAttributeCount(), 1);
  EXPECT_EQ(Format.GetAttributeNameAt(0), "");
  EXPECT_EQ(Format.GetAttributeAssignAt(0), "");
  EXPECT_FALSE(Format.IsAttributeRequiredAt(0));
}

TEST_F(RblDataFormat, FormatWithoutAttributesIsAccepted) {
  EXPECT_TRUE(Read("<RBLFormat minrows='0' maxrows='2'/>"));
  EXPECT_EQ(Format.GetAttributeCount(), 0);
}

TEST_F(RblDataFormat, MinrowsWithoutMaxrowsIsReportedAndFails) {
  EXPECT_FALSE(Read("<RBLFormat minrows='1'><Attribute name='a'/></RBLFormat>"));
  EXPECT_EQ(Output, OnlyErr(kBoundsMessage));
  EXPECT_EQ(Format.GetAttributeCount(), 0);
}

TEST_F(RblDataFormat, BoundsAreStoredBeforeTheyAreChecked) {
  EXPECT_FALSE(Read("<RBLFormat minrows='5' maxrows='4'/>"));
  EXPECT_EQ(Output, OnlyErr(kBoundsMessage));
  EXPECT_EQ(Format.GetMinRows(), 5U);
  EXPECT_EQ(Format.GetMaxRows(), 4U);
}

TEST_F(RblDataFormat, EqualBoundsAreAccepted) {
  EXPECT_TRUE(Read("<RBLFormat minrows='3' maxrows='3'/>"));
  EXPECT_EQ(Output, Nothing());
}

TEST_F(RblDataFormat, NegativeBoundsAreLargeNumbers) {
  EXPECT_TRUE(Read("<RBLFormat minrows='1' maxrows='-1'/>"));
  EXPECT_EQ(Format.GetMaxRows(), 4294967295U);
  EXPECT_FALSE(Read("<RBLFormat minrows='-1' maxrows='5'/>"));
  EXPECT_EQ(Output, OnlyErr(kBoundsMessage));
  EXPECT_EQ(Format.GetMinRows(), 4294967295U);
  EXPECT_TRUE(Read("<RBLFormat minrows='-2' maxrows='-1'/>"));
}

TEST_F(RblDataFormat, BoundsAreLeadingIntegers) {
  EXPECT_TRUE(Read("<RBLFormat minrows=' 2x' maxrows='9 rows'/>"));
  EXPECT_EQ(Format.GetMinRows(), 2U);
  EXPECT_EQ(Format.GetMaxRows(), 9U);
  EXPECT_TRUE(Read("<RBLFormat minrows='x9' maxrows=''/>"));
  EXPECT_EQ(Format.GetMinRows(), 0U);
  EXPECT_EQ(Format.GetMaxRows(), 0U);
}

TEST_F(RblDataFormat, SevenValuesOfMusthavevalueAreTrue) {
  for (const char* value : {"YES", "Yes", "yes", "true", "TRUE", "True", "1"}) {
    EXPECT_TRUE(IsRequired(value)) << value;
  }
}

TEST_F(RblDataFormat, OtherValuesOfMusthavevalueAreFalse) {
  for (const char* value : {"Y", "on", "yES", "", " yes", "yes ", "y", "tRUE", "0", "01", "no"}) {
    EXPECT_FALSE(IsRequired(value)) << value;
  }
}

TEST_F(RblDataFormat, IndexFromTheCountOnGivesNothing) {
  ASSERT_TRUE(ReadAttributes("<Attribute name='a' assignto='b' musthavevalue='1'/>"));
  for (const int i : {1, 2, INT_MAX}) {
    EXPECT_EQ(Format.GetAttributeNameAt(i), "");
    EXPECT_EQ(Format.GetAttributeAssignAt(i), "");
    EXPECT_FALSE(Format.IsAttributeRequiredAt(i));
  }
}

TEST_F(RblDataFormat, NegativeIndexThrows) {
  ASSERT_TRUE(ReadAttributes("<Attribute name='a'/>"));
  for (const int i : {-1, INT_MIN}) {
    EXPECT_THROW(Format.GetAttributeNameAt(i), std::out_of_range);
    EXPECT_THROW(Format.GetAttributeAssignAt(i), std::out_of_range);
    EXPECT_THROW(Format.IsAttributeRequiredAt(i), std::out_of_range);
  }
}

TEST_F(RblDataFormat, LastAttributeAssignedToAnElementIsFound) {
  ASSERT_TRUE(
      ReadAttributes("<Attribute name='a' assignto='x'/><Attribute name='b' assignto='y'/>"
                     "<Attribute name='c' assignto='x'/><Attribute name='d'/>"));
  EXPECT_EQ(Format.FindAssignedAttribute("x"), 2);
  EXPECT_EQ(Format.FindAssignedAttribute("y"), 1);
  EXPECT_EQ(Format.FindAssignedAttribute(""), 3);
  EXPECT_EQ(Format.FindAssignedAttribute("X"), -1);
}

TEST_F(RblDataFormat, FindingAgreesWithTheListOnRandomFormats) {
  for (unsigned int seed = 0; seed < 100; ++seed) {
    std::mt19937 random(seed);
    std::string attributes;
    for (auto count = random() % 12; count > 0; --count) {
      attributes += "<Attribute assignto='" + std::to_string(random() % 6) + "'/>";
    }
    CkaRBLDataFormat format;
    format.Initialize("<doc><Assembly><RBLFormat>" + attributes + "</RBLFormat></Assembly></doc>",
                      false, true);
    ASSERT_TRUE(format.ReadAssembly());
    for (int id = 0; id < 7; ++id) {
      int expected = -1;
      for (int i = 0; i < format.GetAttributeCount(); ++i) {
        if (format.GetAttributeAssignAt(i) == std::to_string(id)) expected = i;
      }
      EXPECT_EQ(format.FindAssignedAttribute(std::to_string(id)), expected) << seed;
    }
  }
}

TEST_F(RblDataFormat, ReadingTwiceAppendsAgain) {
  ASSERT_TRUE(ReadAttributes("<Attribute name='a' assignto='x'/><Attribute name='b'/>"));
  ASSERT_TRUE(Format.ReadAssembly());
  EXPECT_EQ(Format.GetAttributeCount(), 4);
  EXPECT_EQ(Format.GetAttributeNameAt(2), "a");
  EXPECT_EQ(Format.FindAssignedAttribute("x"), 2);
}

TEST_F(RblDataFormat, OnlyTheFirstFormatOfTheFirstAssemblyIsRead) {
  ASSERT_TRUE(Format.Initialize(
      "<doc><Other/><Assembly><RBLFormat maxrows='1'><Attribute name='a'/><x><Attribute/></x>"
      "</RBLFormat><RBLFormat maxrows='2'/></Assembly><Assembly><RBLFormat/></Assembly></doc>",
      false, true));
  ASSERT_TRUE(Format.ReadAssembly());
  EXPECT_EQ(Format.GetMaxRows(), 1U);
  EXPECT_EQ(Format.GetAttributeCount(), 1);
}

TEST_F(RblDataFormat, MissingAssemblyOrFormatThrows) {
  ASSERT_TRUE(Format.Initialize("<doc><RBLFormat/></doc>", false, true));
  EXPECT_THROW(Format.ReadAssembly(), std::out_of_range);
  ASSERT_TRUE(Format.Initialize("<doc><Assembly/></doc>", false, true));
  EXPECT_THROW(Format.ReadAssembly(), std::out_of_range);
}

TEST_F(RblDataFormat, UninitialisedReaderSaysSoWithoutALineEnd) {
  EXPECT_EQ(OutputOf([&] { Format.SetMainNodes(); }), OnlyErr("Erst XML initialisieren"));
  EXPECT_EQ(Format.pRootNode, nullptr);
  EXPECT_EQ(Format.pAssemNode, nullptr);
}

TEST_F(RblDataFormat, UninitialisedReaderReadsNothing) {
  bool read = true;
  OutputOf([&] { read = Format.ReadAssembly(); });
  EXPECT_FALSE(read);
  EXPECT_EQ(Format.GetAttributeCount(), 0);
}

TEST_F(RblDataFormat, EscapesInNamesAreReplaced) {
  ASSERT_TRUE(ReadAttributes("<Attribute name='a\\e' assignto='\\eb'/>"));
  EXPECT_EQ(Format.GetAttributeNameAt(0), "a\x1b");
  EXPECT_EQ(Format.GetAttributeAssignAt(0),
            "\x1b"
            "b");
}
