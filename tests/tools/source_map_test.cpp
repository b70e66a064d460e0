#include "common/source_map.h"

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include <memory>
#include <string>
#include <vector>

namespace tools {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// "name line.column-endline" of each element.
std::vector<std::string> Places(const std::string& xml) {
  std::vector<std::string> places;
  const SourceMap map(xml);
  for (const ElementSource& element : map.Elements()) {
    places.push_back(element.Name + " " + std::to_string(element.At.Line) + "." +
                     std::to_string(element.At.Column) + "-" + std::to_string(element.EndLine));
  }
  return places;
}

std::string Text(const SourcePosition& position) {
  return std::to_string(position.Line) + "." + std::to_string(position.Column);
}

/// "name place=place of value" of each attribute of the first element.
std::vector<std::string> AttributePlaces(const std::string& xml) {
  std::vector<std::string> places;
  const SourceMap map(xml);
  for (const AttributeSource& attribute : map.Elements().at(0).Attributes) {
    places.push_back(attribute.Name + " " + Text(attribute.NameAt) + "=" + Text(attribute.ValueAt));
  }
  return places;
}

TEST(SourceMap, ElementsStandWhereTheirTagBegins) {
  EXPECT_THAT(Places("<a>\n  <b/>\n  <c>x</c>\n</a>\n"),
              ElementsAre("a 1.1-4", "b 2.3-2", "c 3.3-3"));
}

TEST(SourceMap, TagOfSeveralLinesBeginsAtItsFirst) {
  EXPECT_THAT(Places("<a>\n <b\n  x='1'\n  y='2'/>\n <c\n>\n</c></a>"),
              ElementsAre("a 1.1-7", "b 2.2-4", "c 5.2-7"));
}

TEST(SourceMap, ColumnsCountCharacters) {
  EXPECT_THAT(Places("<a>äöü€😀<b/></a>"), ElementsAre("a 1.1-1", "b 1.9-1"));
}

TEST(SourceMap, ByteOrderMarkIsNoCharacter) {
  EXPECT_THAT(Places("\xEF\xBB\xBF<a><b/></a>"), ElementsAre("a 1.1-1", "b 1.4-1"));
}

TEST(SourceMap, LinesOfOtherSystemsAreLines) {
  EXPECT_THAT(Places("<a>\r\n<b/>\r\n <c/></a>"), ElementsAre("a 1.1-3", "b 2.1-2", "c 3.2-3"));
}

TEST(SourceMap, LatinCharactersAreOneByte) {
  EXPECT_THAT(Places("<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\xE4\xF6\x80<b/></a>"),
              ElementsAre("a 2.1-2", "b 2.7-2"));
}

TEST(SourceMap, CommentsAndSectionsHideTags) {
  EXPECT_THAT(Places("<?xml version='1.0'?>\n<!-- <x/>\n -->\n<a><![CDATA[<y/>\n]]><b/><?p <z/>?>"
                     "<c/></a>"),
              ElementsAre("a 4.1-5", "b 5.4-5", "c 5.18-5"));
}

TEST(SourceMap, ElementsOfAnEntityStandAtItsReference) {
  const std::string xml =
      "<!DOCTYPE a [<!ENTITY e \"<b x='1'/><c><d/></c>\">]>\n<a>\n  &e;<f/>\n</a>";
  EXPECT_THAT(Places(xml), ElementsAre("a 2.1-4", "b 3.3-3", "c 3.3-3", "d 3.3-3", "f 3.6-3"));
  const SourceMap map(xml);
  EXPECT_TRUE(map.Elements()[1].bFromEntity);
  EXPECT_THAT(map.Elements()[1].Attributes, IsEmpty());
  EXPECT_FALSE(map.Elements()[4].bFromEntity);
}

TEST(SourceMap, AttributesHaveThePlacesOfNameAndValue) {
  EXPECT_THAT(AttributePlaces("<a x=\"1\" yy = '2'\n   z='\xC3\xA4' w=''/>"),
              ElementsAre("x 1.4=1.7", "yy 1.10=1.16", "z 2.4=2.7", "w 2.10=2.13"));
}

TEST(SourceMap, ValuesMayHoldWhatEndsTagsElsewhere) {
  EXPECT_THAT(AttributePlaces("<a x='>/\"=' y=\"'\"\n z='a\nb'  u='1'></a>"),
              ElementsAre("x 1.4=1.7", "y 1.13=1.16", "z 2.2=2.5", "u 3.5=3.8"));
}

TEST(SourceMap, ValueOffsetIsABytePosition) {
  const std::string xml = "<a>\xC3\xA4<b id='x'/></a>";
  EXPECT_EQ(SourceMap(xml).Elements().at(1).Attributes.at(0).ValueOffset, xml.find("x"));
}

TEST(SourceMap, AttributeByDefaultHasNoPlace) {
  EXPECT_THAT(AttributePlaces("<!DOCTYPE a [<!ATTLIST a y CDATA 'd'>]><a x='1'/>"), SizeIs(1));
}

TEST(SourceMap, NamesHaveTheirPrefix) {
  EXPECT_THAT(Places("<n:a xmlns:n='u'/>"), ElementsAre("n:a 1.1-1"));
  EXPECT_THAT(AttributePlaces("<a n:x='1' xmlns:n='u'/>"),
              ElementsAre("n:x 1.4=1.9", "xmlns:n 1.12=1.21"));
}

TEST(SourceMap, BrokenDocumentHasWhatCameBefore) {
  EXPECT_THAT(Places("<a>\n<b/>\n</c>"), ElementsAre("a 1.1-0", "b 2.1-2"));
  EXPECT_THAT(Places(""), IsEmpty());
  EXPECT_THAT(Places("no XML"), IsEmpty());
}

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};

TEST(SourceMap, TellsThePlaceOfAParsedElement) {
  const std::string xml = "<a>\n  text <b><c/></b><!-- x -->\n <d/></a>";
  const std::unique_ptr<xmlDoc, FreeDocument> document(
      xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "", nullptr, 0));
  const SourceMap map(xml);
  xmlNode* a = xmlDocGetRootElement(document.get());
  EXPECT_EQ(Text(map.PositionOf(a)), "1.1");
  EXPECT_EQ(Text(map.PositionOf(xmlFirstElementChild(a))), "2.8");
  EXPECT_EQ(Text(map.PositionOf(xmlFirstElementChild(xmlFirstElementChild(a)))), "2.11");
  EXPECT_EQ(Text(map.PositionOf(xmlLastElementChild(a))), "3.2");
  EXPECT_EQ(Text(SourceMap().PositionOf(xmlLastElementChild(a))), "3.0") << "the line alone";
}

}  // namespace

}  // namespace tools
