#include "common/document.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "demo_station.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

class DocumentTest : public ::testing::Test {
 protected:
  const Document& Load(const std::string& xml) {
    document = std::make_unique<Document>(directory.Write("station.xml", xml));
    return *document;
  }

  support::TempDir directory;
  std::unique_ptr<Document> document;
};

std::string Text(const SourcePosition& position) {
  return std::to_string(position.Line) + "." + std::to_string(position.Column);
}

TEST_F(DocumentTest, ElementsAreATree) {
  const Document& loaded = Load("<a>\n<b x='1'><c/></b>\n<b/></a>");
  ASSERT_EQ(loaded.Elements().size(), 4U);
  EXPECT_EQ(loaded.Root().Name, "a");
  ASSERT_EQ(loaded.Root().Children.size(), 2U);
  const Element& b = *loaded.Root().Children[0];
  EXPECT_EQ(b.Parent, &loaded.Root());
  EXPECT_EQ(b.Children.at(0)->Name, "c");
  EXPECT_EQ(Text(b.At), "2.1");
  EXPECT_EQ(loaded.Root().EndLine, 3);
}

TEST_F(DocumentTest, ValuesAreThoseOfTheServer) {
  const Element& root = Load("<a p='\\eX &amp; ä' n=' 12x' m='x'/>").Root();
  EXPECT_EQ(root.Value("p"), "\x1bX & ä");
  EXPECT_EQ(root.Number("n"), 12);
  EXPECT_EQ(root.Number("m"), 0);
  EXPECT_EQ(root.Value("none"), "");
  EXPECT_FALSE(root.Has("none"));
}

TEST_F(DocumentTest, AttributesHaveTheirPlaces) {
  const Element& root = Load("<a\n x='1'/>").Root();
  EXPECT_EQ(Text(root.Find("x")->NameAt), "2.2");
  EXPECT_EQ(Text(root.ValueAt("x")), "2.5");
  EXPECT_EQ(Text(root.ValueAt("none")), "1.1");
}

TEST_F(DocumentTest, AttributesInANamespaceAreLeftOut) {
  const Element& root = Load("<a xmlns:n='u' n:x='1' y='2'/>").Root();
  ASSERT_EQ(root.Attributes.size(), 1U);
  EXPECT_EQ(root.Attributes[0].Name, "y");
}

TEST_F(DocumentTest, AttributesByDefaultCount) {
  const Element& root =
      Load("<!DOCTYPE a [<!ATTLIST a x CDATA 'd' y CDATA 'e'>]><a y='2'/>").Root();
  EXPECT_EQ(root.Value("x"), "d");
  EXPECT_EQ(root.Value("y"), "2");
  EXPECT_EQ(root.Attributes.size(), 2U);
}

TEST_F(DocumentTest, ElementsInANamespaceAreNotFoundByName) {
  const Element& root = Load("<a xmlns:n='u'><n:b/><b/></a>").Root();
  EXPECT_TRUE(root.Children[0]->bInNamespace);
  ASSERT_EQ(root.ChildrenCalled("b").size(), 1U);
  EXPECT_EQ(root.FirstChild("b"), root.Children[1]);
  EXPECT_EQ(root.FirstChild("c"), nullptr);
}

TEST_F(DocumentTest, TextIsThatOfTheFirstChildNode) {
  EXPECT_EQ(Load("<a>anna</a>").Root().Text, "anna");
  EXPECT_EQ(Load("<a><b/>anna</a>").Root().Text, "");
  EXPECT_EQ(Load("<a/>").Root().Text, "");
}

TEST_F(DocumentTest, LastNodeHasNothingBehindIt) {
  const Element& root = Load("<a><b/><c/> <d/><!-- --><e/></a>").Root();
  std::string last;
  for (const Element* child : root.Children)
    if (child->bLastNode) last += child->Name;
  EXPECT_EQ(last, "e");
  EXPECT_FALSE(Load("<a><b/>\n</a>").Root().Children[0]->bLastNode);
  EXPECT_FALSE(Load("<a><b/><!-- --></a>").Root().Children[0]->bLastNode);
}

TEST_F(DocumentTest, ElementsOfAnEntityArePartOfTheTree) {
  const Element& root =
      Load("<!DOCTYPE a [<!ENTITY e \"<b x='1'/>\">]>\n<a>\n&e;<c y='2'/></a>").Root();
  ASSERT_EQ(root.Children.size(), 2U);
  EXPECT_EQ(root.Children[0]->Value("x"), "1");
  EXPECT_EQ(Text(root.Children[0]->At), "3.1");
  EXPECT_EQ(Text(root.Children[1]->ValueAt("y")), "3.10");
}

TEST_F(DocumentTest, ExternalEntityLeavesLinesOnly) {
  directory.Write("part.xml", "<b/><b/>");
  const Element& root =
      Load("<!DOCTYPE a [<!ENTITY e SYSTEM 'part.xml'>]>\n<a>\n&e;\n<c y='2'/></a>").Root();
  ASSERT_EQ(root.Children.size(), 3U);
  EXPECT_EQ(Text(root.FirstChild("c")->At), "4.0");
}

TEST_F(DocumentTest, FileThatIsMissingIsAnErrorWithoutAPlace) {
  try {
    const Document missing(directory.Sub("none.xml"));
    FAIL();
  } catch (const DocumentError& error) {
    EXPECT_EQ(error.Reason(), "");
    EXPECT_EQ(error.At().Line, 0);
    EXPECT_EQ(error.File(), directory.Sub("none.xml"));
  }
}

TEST_F(DocumentTest, FileThatIsNotWellFormedIsAnErrorWithItsPlace) {
  try {
    Load("<a>\n<b>\n</a>");
    FAIL();
  } catch (const DocumentError& error) {
    EXPECT_EQ(error.At().Line, 3);
    EXPECT_NE(error.Reason().find("mismatch"), std::string::npos) << error.Reason();
  }
}

TEST_F(DocumentTest, DemoStationHasItsParts) {
  const Document demo(toolstest::Project() / "announcements" / "station.xml");
  EXPECT_EQ(demo.Announcements().size(), 4U);
  ASSERT_NE(demo.References(), nullptr);
  EXPECT_EQ(demo.References()->ChildrenCalled("Language").size(), 3U);
  ASSERT_NE(demo.Format(), nullptr);
  EXPECT_EQ(demo.Format()->Number("maxrows"), 6);
}

}  // namespace

}  // namespace tools
