#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "kaCases.h"
#include "kaRBLDataContent.h"
#include "kaRBLDataFormat.h"
#include "kaSpeechFormat.h"
#include "kaSpeechGen.h"
#include "page_commands.h"
#include "schema_files.h"
#include "support/station.h"
#include "xml_schema.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

std::string Listed(const std::vector<Refusal>& refusals) {
  std::string list;
  for (const Refusal& refusal : refusals)
    list += std::to_string(refusal.Line) + ": " + refusal.Message;
  return list;
}

void ExpectAccepted(const XmlSchema& schema, const std::string& document, const std::string& name) {
  EXPECT_EQ(Listed(schema.Check(document)), "") << name;
}

// ---- What is right is accepted ----

TEST(AnnouncementSchema, AcceptsTheDemoStation) {
  ExpectAccepted(AnnouncementSchema(), Source("announcements/station.xml"), "demo station");
}

TEST(AnnouncementSchema, AcceptsTheDocumentsOfTheReadme) {
  const auto documents = PartsOf(Source("README.md"), "<Station>", "</Station>");
  ASSERT_EQ(documents.size(), 1U);
  ExpectAccepted(AnnouncementSchema(), documents[0], "README.md");
}

TEST(AnnouncementSchema, AcceptsTheDocumentsOfTheTests) {
  const XmlSchema schema = AnnouncementSchema();
  ExpectAccepted(schema, support::AnnouncementDocument().Text(), "unit tests");
  const auto staged = PartsOf(Source("tests/server/stage.cpp"), "<Station>", "</Station>");
  ASSERT_EQ(staged.size(), 1U);
  ExpectAccepted(schema, staged[0], "server tests");
}

TEST(AnnouncementSchema, AcceptsADocumentWithEverything) {
  ExpectAccepted(AnnouncementSchema(), CompleteDocument(), "complete document");
  EXPECT_EQ(PathsOf(CompleteDocument()), AnnouncementSchema().Paths());
}

/// The three kinds below Assembly, in every order and mixed.
TEST(AnnouncementSchema, AcceptsAnyOrderBelowAssembly) {
  const XmlSchema schema = AnnouncementSchema();
  const std::string format = R"(<RBLFormat maxrows="1"/>)";
  const std::string de =
      R"(<Language name="de"><Announcement><Speech id="x"/> </Announcement></Language>)";
  const std::string en =
      R"(<Language name="en"><Announcement><Speech id="x"/> </Announcement></Language>)";
  const std::string one = R"(<Case id="one" strlen="a" operator="eq" value="1"/>)";
  const std::string two = R"(<Case id="two"><Case ref="one"/></Case>)";
  std::vector<std::string> sections = {format, de, en, one, two};
  std::sort(sections.begin(), sections.end());
  do {
    std::string assembly;
    for (const std::string& section : sections)
      assembly += section;
    ExpectAccepted(schema,
                   R"(<Station><Assembly>)" + assembly +
                       R"(</Assembly><References><Language name="en"/>)"
                       R"(<Language name="de"/></References></Station>)",
                   assembly);
  } while (std::next_permutation(sections.begin(), sections.end()));
}

TEST(AnnouncementSchema, AcceptsWhatALanguageHasInAnyOrder) {
  ExpectAccepted(AnnouncementSchema(),
                 Replaced(CompleteDocument(), R"(<Voice sex="female">de</Voice>)",
                          R"(<Element id="x" trait="temp"/><Voice sex="male">d2</Voice>)"
                          R"(<Lexicon name="y"/><Voice sex="other">d3</Voice>)"),
                 "mixed");
}

TEST(AnnouncementSchema, AcceptsEveryWordThatTheServerKnows) {
  const XmlSchema schema = AnnouncementSchema();
  const auto accept = [&](const std::string& part, const std::string& before,
                          const std::vector<std::string>& words) {
    for (const std::string& word : words) {
      const std::string after = part + "=\"" + word + "\"";
      ExpectAccepted(schema, Replaced(CompleteDocument(), part + before, after), word);
    }
  };
  accept("musthavevalue", "=\"yes\"",
         {"YES", "Yes", "yes", "TRUE", "True", "true", "1", "no", "false", "0"});
  accept("prefer", "=\"female\"", {"male", "Male", "female", "Female"});
  accept("type", "=\"number\"", {"number", "Number", "string", "String"});
  accept("operator", "=\"gt\"", {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"});
  accept("operator", "=\"AND\"", {"AND", "OR", "NOR", "NAND", "NOT"});
  accept("trait", "=\"sound\"", {"sound", "steady", "temp"});
}

TEST(BlockSchema, AcceptsTheSampleBlocks) {
  const XmlSchema schema = BlockSchema();
  int count = 0;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(SourcePath("announcements/blocks"))) {
    if (entry.path().extension() != ".xml") continue;
    ExpectAccepted(schema, support::ReadFile(entry.path()), entry.path());
    ++count;
  }
  EXPECT_GE(count, 17);
}

TEST(BlockSchema, AcceptsTheBlocksOfTheReadmes) {
  for (const char* file : {"README.md", "announcements/README.md"}) {
    const auto blocks = PartsOf(Source(file), "\n<rbl>\n", "\n</rbl>\n");
    ASSERT_FALSE(blocks.empty()) << file;
    for (const std::string& block : blocks)
      ExpectAccepted(BlockSchema(), block, file);
  }
}

TEST(BlockSchema, AcceptsAnyAttributeOnARow) {
  ExpectAccepted(BlockSchema(), CompleteBlock(), "complete block");
}

// ---- The schemas say everything ----

/// What the classes below src/ look for in an announcement document.
const std::set<std::string>& PathsThatTheServerReads() {
  static const std::set<std::string> paths = {
      "Station",
      // kaSpeechFormat.cpp
      "Station/References",
      "Station/References/Language",
      "Station/References/Language@name",
      "Station/References/Language/Voice",
      "Station/References/Language/Voice@sex",
      "Station/References/Language/Lexicon",
      "Station/References/Language/Lexicon@name",
      "Station/References/Language/Element",
      "Station/References/Language/Element@id",
      "Station/References/Language/Element@trait",
      "Station/References/Language/Element@text",
      // kaSpeechGen.cpp
      "Station/Assembly",
      "Station/Assembly/Language",
      "Station/Assembly/Language@name",
      "Station/Assembly/Language@generalprefix",
      "Station/Assembly/Language@prefer",
      "Station/Assembly/Language/Announcement",
      "Station/Assembly/Language/Announcement@position",
      "Station/Assembly/Language/Announcement@positionMax",
      "Station/Assembly/Language/Announcement/Speech",
      "Station/Assembly/Language/Announcement/Speech@id",
      "Station/Assembly/Language/Announcement/Speech@prefix",
      "Station/Assembly/Language/Announcement/Speech@suffix",
      "Station/Assembly/Language/Announcement/Speech@lexicon",
      "Station/Assembly/Language/Announcement/Condition",
      "Station/Assembly/Language/Announcement/Condition@name",
      "Station/Assembly/Language/Announcement/Condition/Speech",
      "Station/Assembly/Language/Announcement/Condition/Speech@id",
      "Station/Assembly/Language/Announcement/Condition/Speech@prefix",
      "Station/Assembly/Language/Announcement/Condition/Speech@suffix",
      "Station/Assembly/Language/Announcement/Condition/Speech@lexicon",
      // kaRBLDataFormat.cpp
      "Station/Assembly/RBLFormat",
      "Station/Assembly/RBLFormat@minrows",
      "Station/Assembly/RBLFormat@maxrows",
      "Station/Assembly/RBLFormat/Attribute",
      "Station/Assembly/RBLFormat/Attribute@name",
      "Station/Assembly/RBLFormat/Attribute@assignto",
      "Station/Assembly/RBLFormat/Attribute@musthavevalue",
      // kaCases.cpp
      "Station/Assembly/Case",
      "Station/Assembly/Case@id",
      "Station/Assembly/Case@substr",
      "Station/Assembly/Case@strlen",
      "Station/Assembly/Case@type",
      "Station/Assembly/Case@operator",
      "Station/Assembly/Case@begin",
      "Station/Assembly/Case@end",
      "Station/Assembly/Case@value",
      "Station/Assembly/Case/Case",
      "Station/Assembly/Case/Case@ref",
  };
  return paths;
}

TEST(AnnouncementSchema, HasWhatTheServerReadsAndNothingElse) {
  EXPECT_EQ(AnnouncementSchema().Paths(), PathsThatTheServerReads());
}

TEST(BlockSchema, HasWhatTheServerReadsAndNothingElse) {
  EXPECT_EQ(BlockSchema().Paths(), (std::set<std::string>{"rbl", "rbl/row"}));
  EXPECT_EQ(BlockSchema().NodesCalled("anyAttribute").size(), 1U);
}

void ExpectBothLanguages(const XmlSchema& schema, const std::string& kind) {
  for (const xmlNode* node : schema.NodesCalled(kind)) {
    const std::string german = Documentation(node, "de");
    const std::string english = Documentation(node, "en");
    const std::string place = kind + " " + AttributeOf(node, "name") + AttributeOf(node, "value") +
                              " in line " + std::to_string(xmlGetLineNo(node));
    EXPECT_FALSE(german.empty()) << place;
    EXPECT_FALSE(english.empty()) << place;
    EXPECT_NE(german, english) << place;
  }
}

TEST(Schemas, ExplainEverythingInGermanAndEnglish) {
  for (const XmlSchema& schema : {AnnouncementSchema(), BlockSchema()}) {
    EXPECT_FALSE(schema.NodesCalled("element").empty());
    for (const char* kind : {"schema", "element", "attribute", "simpleType", "enumeration"})
      ExpectBothLanguages(schema, kind);
  }
}

// ---- The server takes no notice of a reference to the schema ----

const std::string kReference = R"xml( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" )xml"
                               R"xml(xsi:noNamespaceSchemaLocation="nowhere.xsd")xml";

template <class Reader>
void Read(Reader& reader, const std::string& path, bool (Reader::*read)()) {
  ASSERT_TRUE(reader.Initialize(path, false, false));
  ASSERT_TRUE((reader.*read)());
}

std::string References(const std::string& path) {
  CkaSpeechFormat reader;
  Read(reader, path, &CkaSpeechFormat::ReadReferences);
  std::ostringstream out;
  for (const KaLangRef& language : reader.LangRefs) {
    out << language.LangName;
    for (const kaVoice& voice : language.Voices)
      out << "|" << voice.Name << voice.Sex;
    for (const kaTTSElement& element : language.Elements)
      out << "|" << element.id << element.trait;
  }
  return out.str();
}

std::string Announcements(const std::string& path) {
  CkaSpeechGen reader;
  Read(reader, path, &CkaSpeechGen::ReadSpeechBuildSeq);
  std::ostringstream out;
  for (const auto& language : reader.Languages) {
    out << language.Name << language.GeneralPrefix << language.PrefSex;
    for (const auto& announcement : language.Announcements) {
      out << "|" << announcement.Position << announcement.PositionMax;
      for (const auto& phrase : announcement.Phrases) {
        out << "|" << phrase.RefId << phrase.Prefix << phrase.Suffix << phrase.Lexicon
            << phrase.Condition;
      }
    }
  }
  return out.str();
}

std::string Format(const std::string& path) {
  CkaRBLDataFormat reader;
  Read(reader, path, &CkaRBLDataFormat::ReadAssembly);
  std::ostringstream out;
  out << reader.GetMinRows() << reader.GetMaxRows();
  for (const auto& attribute : reader.Attributes)
    out << "|" << attribute.Name << attribute.AssignTo << attribute.bRequired;
  return out.str();
}

std::string Cases(const std::string& path) {
  CkaCases reader;
  Read(reader, path, &CkaCases::ReadCases);
  std::ostringstream out;
  for (const auto& record : reader.SortedCases) {
    out << record.Id << record.Type << record.FirstValRef << record.SecondVal << record.Begin
        << record.End << record.TreatAs << record.Operator;
    for (const std::string& ref : record.CaseRefs)
      out << "|" << ref;
  }
  return out.str();
}

TEST(SchemaReference, IsNothingToTheServer) {
  const support::TempDir dir;
  const support::ServerRoot root(dir.Path());
  const std::string plain = dir.Write("plain.xml", CompleteDocument());
  const std::string referring =
      dir.Write("referring.xml", Replaced(CompleteDocument(), "<Station", "<Station" + kReference));
  for (const auto& section : {References, Announcements, Format, Cases}) {
    EXPECT_FALSE(section(plain).empty());
    EXPECT_EQ(section(referring), section(plain));
  }
}

TEST(SchemaReference, IsNoValueOfADataBlock) {
  const std::string block =
      Replaced(Replaced(CompleteBlock(), "<rbl", "<rbl" + kReference), "<row/>",
               R"(<row xsi:noNamespaceSchemaLocation="y.xsd" dest="Celle"/>)");
  CkaRBLDataContent content;
  ASSERT_TRUE(content.Initialize(block, false, true));
  content.ReadContent();
  ASSERT_EQ(content.GetRowCount(), 2);
  EXPECT_EQ(content.GetValue(1, "dest"), "Celle");
  EXPECT_EQ(content.Rows[0].Values.size(), 3U);
  EXPECT_EQ(content.Rows[1].Values.size(), 1U);
}

TEST(SchemaReference, OfTheDemoStationLeadsToTheSchema) {
  const auto parts =
      PartsOf(Source("announcements/station.xml"), "noNamespaceSchemaLocation=\"", ".xsd\"");
  ASSERT_EQ(parts.size(), 1U);
  const std::string relative = PartsOf(parts[0], "..", ".xsd").at(0);
  EXPECT_TRUE(fs::exists(SourcePath("announcements/" + relative))) << relative;
}

TEST(SchemaReference, ByTheCatalogueLeadsToBothSchemas) {
  const std::string catalogue = Source("schema/catalog.xml");
  for (const char* name : {"announcements", "datablock"}) {
    EXPECT_EQ(
        PartsOf(catalogue, std::string("schema:") + name + "\" uri=\"" + name + ".xsd", "\"/>")
            .size(),
        2U)
        << name;
  }
}

// ---- The how-to ----

TEST(SchemaHowTo, CommandsPrintWhatItSays) {
  const support::TempDir dir;
  for (const char* name : {"schema", "announcements"})
    fs::copy(SourcePath(name), dir.Sub(name), fs::copy_options::recursive);
  PageCommands page("docs/schema.md", dir.Path());
  page.Ignore(":[0-9]+:", ":LINE:");  // The demo station grows.
  EXPECT_GE(page.ExpectWhatIsShown(), 3U);
}

}  // namespace

}  // namespace toolstest
