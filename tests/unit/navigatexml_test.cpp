#include "kaNavigateXML.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "hostile_documents.h"
#include "kaXmlGuard.h"
#include "output_of.h"
#include "support/temp_dir.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Opens what derived readers use.
class Reader : public CkaNavigateXML {
 public:
  using CkaNavigateXML::GetAttributes;
  using CkaNavigateXML::GetRequiredChild;
  using CkaNavigateXML::GetRootNode;
};

class NavigateXml : public testing::Test {
 protected:
  bool Load(const std::string& document) { return Xml.Initialize(document, false, true); }
  xmlpp::Node* Root() { return Xml.Parser.get_document()->get_root_node(); }
  /// The root of a document whose root element has these attributes.
  xmlpp::Node* RootWith(const std::string& attributes) {
    EXPECT_TRUE(Load("<r " + attributes + "/>"));
    return Root();
  }
  /// The root of a document with this content.
  xmlpp::Node* RootOf(const std::string& content) {
    EXPECT_TRUE(Load("<r>" + content + "</r>"));
    return Root();
  }
  /// All text of the loaded document.
  std::string WholeText() {
    std::string text;
    for (xmlpp::Node* node : Xml.FindNodes(Root(), "descendant::text()")) {
      text += dynamic_cast<xmlpp::ContentNode&>(*node).get_content().raw();
    }
    return text;
  }

  support::TempDir Directory;
  Reader Xml;
};

/// A server port of this machine to which nobody should connect.
class QuietPort {
 public:
  QuietPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(socket_.Get(), generic, size), 0);
    EXPECT_EQ(listen(socket_.Get(), 1), 0);
    EXPECT_EQ(getsockname(socket_.Get(), generic, &size), 0);
    number_ = ntohs(address.sin_port);
  }
  std::string Url() const { return "http://127.0.0.1:" + std::to_string(number_) + "/x"; }
  bool WasCalled() const {
    return kaDescriptor(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC)).IsValid();
  }

 private:
  kaDescriptor socket_;
  unsigned number_ = 0;
};

}  // namespace

TEST_F(NavigateXml, StartsUninitialised) {
  EXPECT_EQ(Xml.GetClassMsgID(), 10000U);
  EXPECT_FALSE(Xml.IsInitialized());
  EXPECT_FALSE(Xml.bIsInitialized);
  static_assert(std::has_virtual_destructor_v<CkaNavigateXML>);
}

// Loading.

TEST_F(NavigateXml, MissingFileFailsAndALaterLoadSucceeds) {
  const std::string path = Directory.Sub("x.xml");
  bool result = true;
  EXPECT_EQ(OutputOf([&] { result = Xml.Initialize(path, false, false); }), Nothing());
  EXPECT_FALSE(result);
  EXPECT_FALSE(Xml.IsInitialized());
  Directory.Write("x.xml", "<r/>");
  EXPECT_TRUE(Xml.Initialize(path, false, false));
  EXPECT_TRUE(Xml.IsInitialized());
}

TEST_F(NavigateXml, MalformedDocumentsFailSilently) {
  for (const char* document :
       {"", " ", "text", "<r>", "<r></s>", "<r a=1/>", "<r a='1' a='2'/>", "<r/><s/>", "<r>&x;</r>",
        "<r>\xff</r>", "<r>\x01</r>", "<1/>", "<?xml version='1.0' encoding='none-such'?><r/>"}) {
    Reader reader;
    bool result = true;
    EXPECT_EQ(OutputOf([&] { result = reader.Initialize(document, false, true); }), Nothing())
        << document;
    EXPECT_FALSE(result) << document;
    EXPECT_FALSE(reader.IsInitialized()) << document;
    const std::string path = Directory.Write("faulty.xml", document);
    EXPECT_EQ(OutputOf([&] { result = reader.Initialize(path, false, false); }), Nothing())
        << document;
    EXPECT_FALSE(result) << document;
  }
}

TEST_F(NavigateXml, FaultsOfNamespacesAndTheirWarningsAreRefusals) {
  for (const char* document :
       {"<a:b/>", "<r a:b='1'/>", "<r xmlns='x y'/>", "<r xmlns='relative'/>", "<r xmlns:a=''/>",
        "<r xmlns:a='u:v' a:b='1' a:b='2'/>"}) {
    bool result = true;
    EXPECT_EQ(OutputOf([&] { result = Load(document); }), Nothing()) << document;
    EXPECT_FALSE(result) << document;
    EXPECT_EQ(Xml.Parser.get_document(), nullptr) << document;
  }
}

TEST_F(NavigateXml, PlainDocumentsAreDocumentsFromMemoryWhereTheyAreFromAFile) {
  const std::string pieces[] = {
      "<row a='1'/>",  "<a:b/>", "<r>",        "</r>",   "&",    "&amp;",
      "xmlns:a='u:v'", " ",      " a:b='1'",   "&none;", "&#0;", "xml:id='1'",
      "<row a:b='1'",  "/>",     "\xff",       "é",      "]]>",  "<?a?>",
      "<?xml?>",       "]",      "xmlns='x y'"};
  int documents = 0;
  for (unsigned int seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    std::string document = random() % 2 == 0 ? "<r>" : "<r ";
    for (auto count = random() % 6; count > 0; --count)
      document += pieces[random() % std::size(pieces)];
    if (random() % 4 != 0) document += document[2] == '>' ? "</r>" : "/>";
    ASSERT_TRUE(IsPlainXml(document));
    Reader fromFile;
    const bool expected = fromFile.Initialize(Directory.Write("x", document), false, false);
    EXPECT_EQ(Load(document), expected) << document;
    documents += expected ? 1 : 0;
  }
  EXPECT_GT(documents, 300);
  EXPECT_LT(documents, 2700);
}

TEST_F(NavigateXml, FaultOfAPlainDocumentIsNotRememberedForTheNext) {
  EXPECT_FALSE(Load("<r>&none;</r>"));
  EXPECT_TRUE(Load("<r/>"));
  EXPECT_FALSE(Load("<a:b/>"));
  EXPECT_TRUE(Load("<?xml version='1.0'?><r/>"));
  EXPECT_FALSE(Load("<?xml version='1.0'?><a:b/>"));
}

TEST_F(NavigateXml, DirectoryIsNoDocument) {
  EXPECT_FALSE(Xml.Initialize(Directory.Path(), false, false));
}

TEST_F(NavigateXml, PathResolvesAgainstTheServersRoot) {
  const support::ServerRoot root(Directory.Path());
  Directory.Write("announcements/x.xml", "<station/>");
  EXPECT_TRUE(Xml.Initialize("./announcements/x.xml", false, false));
  EXPECT_EQ(Xml.GetElementName(Root()), "station");
  EXPECT_TRUE(Xml.Initialize("announcements/x.xml", false, false));
  EXPECT_FALSE(Xml.Initialize("../announcements/x.xml", false, false));
}

TEST_F(NavigateXml, AllFormsOfInitializeLoad) {
  std::string document = "<r/>";
  std::string path = Directory.Write("x.xml", document);
  EXPECT_TRUE(Xml.Initialize(document.data(), false, true));
  EXPECT_TRUE(Xml.Initialize(document.c_str(), false, true));
  EXPECT_TRUE(Xml.Initialize(path.data(), false, false));
  EXPECT_TRUE(Xml.Initialize(path.c_str(), false, false));
  EXPECT_FALSE(Xml.Initialize(path.c_str(), false, true));
  EXPECT_FALSE(Xml.Initialize(document.c_str(), false, false));
}

TEST_F(NavigateXml, FailedReloadLeavesItInitialisedWithoutADocument) {
  for (const bool fromMemory : {false, true}) {
    for (const char* faulty : {"/no-such-dir/x", "<r>", "<!DOCTYPE r [<!ENTITY e 'x'>]><r>"}) {
      Reader reader;
      ASSERT_TRUE(reader.Initialize("<r/>", false, true));
      EXPECT_FALSE(reader.Initialize(faulty, false, fromMemory)) << faulty;
      EXPECT_TRUE(reader.IsInitialized()) << faulty;
      xmlpp::Node* root = nullptr;
      EXPECT_EQ(OutputOf([&] { root = reader.GetRootNode("\n"); }),
                OnlyErr("Erst XML initialisieren\n"))
          << faulty << fromMemory;
      EXPECT_EQ(root, nullptr) << faulty << fromMemory;
    }
  }
}

TEST_F(NavigateXml, ReloadingReplacesTheDocument) {
  ASSERT_TRUE(Load("<first/>"));
  ASSERT_TRUE(Load("<second/>"));
  EXPECT_EQ(Xml.GetElementName(Xml.GetRootNode()), "second");
}

TEST_F(NavigateXml, ValidationIsOffUnlessAskedFor) {
  const std::string invalid = "<!DOCTYPE r [<!ELEMENT r EMPTY>]><r><x/></r>";
  EXPECT_TRUE(Xml.Initialize(invalid, false, true));
  bool result = true;
  EXPECT_EQ(OutputOf([&] { result = Xml.Initialize(invalid, true, true); }), Nothing());
  EXPECT_FALSE(result);
  EXPECT_TRUE(Xml.Initialize("<!DOCTYPE r [<!ELEMENT r EMPTY>]><r/>", true, true));
}

TEST_F(NavigateXml, ValidationStaysOnOnceAskedFor) {
  const std::string invalid = "<!DOCTYPE r [<!ELEMENT r EMPTY>]><r><x/></r>";
  ASSERT_TRUE(Xml.Initialize("<!DOCTYPE r [<!ELEMENT r EMPTY>]><r/>", true, true));
  EXPECT_FALSE(Xml.Initialize(invalid, false, true));
}

TEST_F(NavigateXml, UninitialisedReaderHasNoRoot) {
  xmlpp::Node* root = nullptr;
  EXPECT_EQ(OutputOf([&] { root = Xml.GetRootNode(); }), OnlyErr("Erst XML initialisieren"));
  EXPECT_EQ(root, nullptr);
}

TEST_F(NavigateXml, OtherEncodingsArriveAsUtf8) {
  ASSERT_TRUE(Load("<?xml version='1.0' encoding='ISO-8859-1'?><r a='M\xfcnchen'>\xdf</r>"));
  EXPECT_EQ(Xml.GetAttributeValue(Root(), "a"), "München");
  EXPECT_EQ(Xml.GetTextValue(Root()), "ß");
}

// Navigation.

TEST_F(NavigateXml, FindNodesDoesNotFindGrandchildren) {
  xmlpp::Node* root = RootOf("<Speech id='1'/><x><Speech id='2'/></x><Speech id='3'/>");
  const xmlpp::NodeSet found = Xml.FindNodes(root, "Speech");
  ASSERT_THAT(found, SizeIs(2));
  EXPECT_EQ(Xml.GetAttributeValue(found[0], "id"), "1");
  EXPECT_EQ(Xml.GetAttributeValue(found[1], "id"), "3");
}

TEST_F(NavigateXml, AttributesReadAsTheXmlLibraryReadsThem) {
  ASSERT_TRUE(
      Load("<!DOCTYPE r [<!ENTITY e 'of an entity'><!ATTLIST r d CDATA 'by default' e CDATA ''>]>"
           "<r xmlns:p='urn:p' a='plain' empty='' mixed='x&amp;y &e; &#228;' p:q='in a namespace'"
           " p:a='another a' n='line&#10;end'/>"));
  const auto& element = dynamic_cast<const xmlpp::Element&>(*Root());
  for (const std::string name : {"a", "empty", "mixed", "q", "n", "d", "e", "xmlns", "none"}) {
    const xmlpp::Attribute* attribute = element.get_attribute(name);
    EXPECT_EQ(Xml.AttributeExists(Root(), name), attribute != nullptr) << name;
    EXPECT_EQ(Xml.GetAttributeValue(Root(), name),
              attribute == nullptr ? "" : attribute->get_value().raw())
        << name;
  }
  std::vector<std::string> names;
  for (const xmlpp::Attribute* attribute : element.get_attributes())
    names.push_back(attribute->get_name().raw());
  EXPECT_EQ(Xml.GetAttributeNames(Root()), names);
}

TEST_F(NavigateXml, AttributesInOnePassAreThoseFoundByName) {
  ASSERT_TRUE(
      Load("<r xmlns:p='urn:p' xmlns:o='urn:o' p:a='1' a='2' o:a='3' p:b='4' c='5' p:c='6'/>"));
  std::vector<std::pair<std::string, std::string>> found;
  for (const std::string& name : Xml.GetAttributeNames(Root())) {
    if (!Xml.AttributeExists(Root(), name)) continue;
    found.emplace_back(name, Xml.GetAttributeValue(Root(), name));
  }
  EXPECT_EQ(Xml.GetAttributes(Root()), found);
  EXPECT_THAT(found, SizeIs(5));  // a three times, c twice, b never
}

TEST_F(NavigateXml, ReleasedDocumentIsGone) {
  RootOf("<a/>");
  const Printed printed = OutputOf([this] { Xml.ReleaseDocument(); });
  EXPECT_EQ(printed, Nothing());
  EXPECT_TRUE(Xml.IsInitialized());
  EXPECT_EQ(Xml.Parser.get_document(), nullptr);
  EXPECT_NE(RootOf("<b/>"), nullptr);
}

TEST_F(NavigateXml, FindNodesByNameSelectsAsTheXPathExpressionDoes) {
  ASSERT_TRUE(
      Load("<!DOCTYPE r [<!ENTITY e '<a n=\"from an entity\"/>'>]>"
           "<r xmlns:p='urn:p'>text<a n='1'/><b/><p:a n='2'/><a xmlns='urn:d' n='3'/><!-- a -->"
           "<a n='4'><a n='5'/></a>&e;<a xmlns='' n='6'/><?a b?></r>"));
  EXPECT_EQ(Xml.FindNodes(Root(), "a"), Xml.FindNodes(Root(), "./a"));
  EXPECT_THAT(Xml.FindNodes(Root(), "a"), SizeIs(4));
}

TEST_F(NavigateXml, FindNodesWithoutAMatchIsEmpty) {
  EXPECT_THAT(Xml.FindNodes(RootOf("<speech/>"), "Speech"), IsEmpty());
  EXPECT_THAT(Xml.FindNodes(nullptr, "Speech"), IsEmpty());
}

TEST_F(NavigateXml, AttributeNamesComeInDocumentOrder) {
  EXPECT_THAT(Xml.GetAttributeNames(RootWith("z='' a='1' M='2'")), ElementsAre("z", "a", "M"));
  EXPECT_THAT(Xml.GetAttributeNames(RootWith("")), IsEmpty());
}

TEST_F(NavigateXml, AttributesExistByTheirExactName) {
  xmlpp::Node* root = RootWith("name='' Other='1'");
  EXPECT_TRUE(Xml.AttributeExists(root, "name"));
  EXPECT_TRUE(Xml.AttributeExists(root, "Other"));
  for (const char* name : {"Name", "other", "nam", "", "name "}) {
    EXPECT_FALSE(Xml.AttributeExists(root, name)) << name;
  }
}

TEST_F(NavigateXml, MissingAttributeIsEmpty) {
  xmlpp::Node* root = RootWith("a='x' b=''");
  EXPECT_EQ(Xml.GetAttributeValue(root, "a"), "x");
  EXPECT_EQ(Xml.GetAttributeValue(root, std::string("a")), "x");
  EXPECT_EQ(Xml.GetAttributeValue(root, "b"), "");
  EXPECT_EQ(Xml.GetAttributeValue(root, "A"), "");
}

TEST_F(NavigateXml, BackslashEInAttributesBecomesTheEscapeCharacter) {
  const struct {
    const char* Written;
    const char* Value;
  } values[] = {{"A\\eB",
                 "A\x1b"
                 "B"},
                {"\\e\\e", "\x1b\x1b"},
                {"\\\\e", "\\\x1b"},
                {"\\ee",
                 "\x1b"
                 "e"},
                {"\\", "\\"},
                {"e\\", "e\\"},
                {"\\E\\n", "\\E\\n"},
                {"&#92;e", "\x1b"}};
  for (const auto& [written, value] : values) {
    EXPECT_EQ(Xml.GetAttributeValue(RootWith("a='" + std::string(written) + "'"), "a"), value)
        << written;
  }
}

TEST_F(NavigateXml, BackslashEInTextStays) {
  EXPECT_EQ(Xml.GetTextValue(RootOf("A\\eB")), "A\\eB");
}

TEST_F(NavigateXml, IntegersAreReadFromTheFront) {
  const struct {
    const char* Written;
    int Value;
  } values[] = {{"7", 7},
                {" 7", 7},
                {"x7", 0},
                {"12abc", 12},
                {"", 0},
                {"-5", -5},
                {"+5", 5},
                {"- 5", 0},
                {"0x10", 0},
                {"\\e7", 0},
                {"1 2", 1},
                {"007", 7},
                {"3.9", 3},
                {"2147483647", 2147483647},
                {"-2147483648", -2147483647 - 1}};
  for (const auto& [written, value] : values) {
    xmlpp::Node* root = RootWith("a='" + std::string(written) + "'");
    EXPECT_EQ(Xml.GetAttributeValueInt(root, "a"), value) << written;
    EXPECT_EQ(Xml.GetAttributeValueInt(root, std::string("a")), value) << written;
    EXPECT_EQ(LeadingInteger(Xml.GetAttributeValue(root, "a")), value) << written;
  }
}

TEST_F(NavigateXml, MissingIntegerIsZero) {
  EXPECT_EQ(Xml.GetAttributeValueInt(RootWith("a='1'"), "b"), 0);
}

TEST_F(NavigateXml, OverLongIntegersAreCutAsALongIs) {
  EXPECT_EQ(LeadingInteger("2147483648"), -2147483647 - 1);
  EXPECT_EQ(LeadingInteger("4294967303"), 7);
  EXPECT_EQ(LeadingInteger("9223372036854775807"), -1);
  EXPECT_EQ(LeadingInteger(std::string(5000, '9')), -1);
  EXPECT_EQ(LeadingInteger("-" + std::string(5000, '9')), 0);
}

TEST_F(NavigateXml, TextValueIsTheFirstChildsContent) {
  const struct {
    const char* Content;
    const char* Value;
  } contents[] = {{"text", "text"},   {" a\n b ", " a\n b "},     {"a<x/>b", "a"},
                  {"a&amp;b", "a&b"}, {"<![CDATA[<a>]]>", "<a>"}, {"<!-- c -->x", " c "},
                  {"größe", "größe"}};
  for (const auto& [content, value] : contents) {
    EXPECT_EQ(Xml.GetTextValue(RootOf(content)), value) << content;
  }
}

TEST_F(NavigateXml, TextValueWithoutTextIsEmpty) {
  EXPECT_EQ(Xml.GetTextValue(RootOf("")), "");
  EXPECT_EQ(Xml.GetTextValue(RootOf("<x>text</x>text")), "");
}

TEST_F(NavigateXml, FirstChildOfAnIndentedElementIsWhiteSpace) {
  xmlpp::Node* first = Xml.GetFirstChild(RootOf("\n  <x/>\n"));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Xml.GetElementName(first), "text");
}

TEST_F(NavigateXml, FirstChildIsOfAnyKind) {
  EXPECT_EQ(Xml.GetElementName(Xml.GetFirstChild(RootOf("<x/><y/>"))), "x");
  EXPECT_EQ(Xml.GetElementName(Xml.GetFirstChild(RootOf("<!-- c --><y/>"))), "comment");
  EXPECT_EQ(Xml.GetFirstChild(RootOf("")), nullptr);
}

TEST_F(NavigateXml, NodesThatAreNoElementsGiveNothing) {
  xmlpp::Node* text = Xml.GetFirstChild(RootOf("text"));
  EXPECT_THAT(Xml.GetAttributeNames(text), IsEmpty());
  EXPECT_FALSE(Xml.AttributeExists(text, "a"));
  EXPECT_EQ(Xml.GetAttributeValue(text, "a"), "");
  EXPECT_EQ(Xml.GetAttributeValueInt(text, "a"), 0);
  EXPECT_EQ(Xml.GetTextValue(text), "");
  EXPECT_EQ(Xml.GetFirstChild(text), nullptr);
}

TEST_F(NavigateXml, RequiredChildIsTheFirstOfItsName) {
  xmlpp::Node* root = RootOf("<x/><y id='1'/><y id='2'/>");
  EXPECT_EQ(Xml.GetAttributeValue(Xml.GetRequiredChild(root, "y"), "id"), "1");
  EXPECT_THROW(Xml.GetRequiredChild(root, "z"), std::out_of_range);
  EXPECT_EQ(Xml.GetRequiredChild(nullptr, "z"), nullptr);
}

// Documents from the network.

TEST_F(NavigateXml, EntitiesArriveSubstituted) {
  ASSERT_TRUE(Load("<!DOCTYPE r [<!ENTITY e 'v'>]><r a='&e;&amp;&#65;'>&e;x</r>"));
  EXPECT_EQ(Xml.GetAttributeValue(Root(), "a"), "v&A");
  EXPECT_EQ(WholeText(), "vx");
}

class NavigateXmlBomb : public testing::TestWithParam<NamedDocument> {};

TEST_P(NavigateXmlBomb, FromMemoryIsRefused) {
  const long before = PeakMegabytes();
  CkaNavigateXML xml;
  bool result = true;
  EXPECT_EQ(OutputOf([&] { result = xml.Initialize(GetParam().Text, false, true); }), Nothing());
  EXPECT_FALSE(result);
  EXPECT_FALSE(xml.IsInitialized());
  EXPECT_LT(PeakMegabytes() - before, kModestMegabytes);
}

INSTANTIATE_TEST_SUITE_P(Each, NavigateXmlBomb, testing::ValuesIn(EntityBombs()),
                         [](const auto& bomb) { return bomb.param.Name; });

TEST_F(NavigateXml, ModerateExpansionGivesItsValues) {
  const std::string kilobyte(1024, 'x');
  const std::string subset = "<!ENTITY k '" + kilobyte + "'>";
  ASSERT_TRUE(Load(
      WithSubset(subset, "<r>" + Repeated("<row a='&k;'/>", 120) + Repeated("&k;", 120) + "</r>")));
  const xmlpp::NodeSet rows = Xml.FindNodes(Root(), "row");
  ASSERT_THAT(rows, SizeIs(120));
  for (xmlpp::Node* row : rows)
    ASSERT_EQ(Xml.GetAttributeValue(row, "a"), kilobyte);
  EXPECT_TRUE(WholeText() == Repeated(kilobyte, 120));
}

TEST_F(NavigateXml, NestedExpansionGivesItsValues) {
  const std::string subset = "<!ENTITY hbf 'Hauptbahnhof '><!ENTITY list '&hbf;&hbf;&hbf;'>";
  ASSERT_TRUE(Load(WithSubset(subset, "<r a='&list;'>&list;&list;</r>")));
  EXPECT_EQ(Xml.GetAttributeValue(Root(), "a"), Repeated("Hauptbahnhof ", 3));
  EXPECT_EQ(WholeText(), Repeated("Hauptbahnhof ", 6));
}

TEST_F(NavigateXml, DefaultAttributesGiveTheirValues) {
  ASSERT_TRUE(Load(
      WithSubset("<!ATTLIST row a CDATA 'x' b CDATA #IMPLIED>", "<rbl><row/><row a='y'/></rbl>")));
  const xmlpp::NodeSet rows = Xml.FindNodes(Root(), "row");
  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_EQ(Xml.GetAttributeValue(rows[0], "a"), "x");
  EXPECT_EQ(Xml.GetAttributeValue(rows[1], "a"), "y");
}

TEST_F(NavigateXml, ExpansionJustAboveTheLimitIsRefused) {
  const std::string subset = "<!ENTITY k '" + std::string(1024, 'x') + "'>";
  EXPECT_TRUE(Load(WithSubset(subset, "<r>" + Repeated("&k;", 250) + "</r>")));
  EXPECT_FALSE(Load(WithSubset(subset, "<r>" + Repeated("&k;", 257) + "</r>")));
}

TEST_F(NavigateXml, ExternalEntityFromMemoryReadsAsNothingAndOpensNothing) {
  const std::string secret = Directory.Write("secret", "secret<row/>");
  const FileWatch watch(secret);
  ASSERT_TRUE(watch.Works());
  const support::ServerRoot root(Directory.Path());
  for (const std::string& id : {secret, "file://" + secret, "file:" + secret,
                                "file://localhost" + secret, std::string("secret")}) {
    bool result = false;
    EXPECT_EQ(OutputOf([&] {
                result = Load("<!DOCTYPE r [<!ENTITY e SYSTEM '" + id +
                              "'>]><r><row a='1'/>a&e;b<row a='2'/></r>");
              }),
              Nothing())
        << id;
    ASSERT_TRUE(result) << id;
    EXPECT_EQ(WholeText(), "ab") << id;
    EXPECT_THAT(Xml.FindNodes(Root(), "row"), SizeIs(2)) << id;
    EXPECT_FALSE(watch.WasTouched()) << id;
  }
}

TEST_F(NavigateXml, RelativeExternalEntityFromMemoryOpensNothing) {
  const std::string secret = Directory.Write("secret", "secret");
  const FileWatch watch(secret);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(Directory.Path());
  const bool result = Load("<!DOCTYPE r [<!ENTITY e SYSTEM 'secret'>]><r>a&e;b</r>");
  std::filesystem::current_path(before);
  ASSERT_TRUE(result);
  EXPECT_EQ(WholeText(), "ab");
  EXPECT_FALSE(watch.WasTouched());
}

TEST_F(NavigateXml, ExternalSubsetsFromMemoryOpenNothing) {
  const std::string secret = Directory.Write("secret", "<!ENTITY x 'secret'>");
  const FileWatch watch(secret);
  ASSERT_TRUE(watch.Works());
  EXPECT_TRUE(Load("<!DOCTYPE r SYSTEM '" + secret + "'><r/>"));
  EXPECT_TRUE(Load("<!DOCTYPE r [<!ENTITY % e SYSTEM '" + secret + "'>%e;]><r/>"));
  EXPECT_TRUE(Load("<!DOCTYPE r PUBLIC '-//x//y' '" + secret + "'><r/>"));
  Xml.Initialize("<!DOCTYPE r SYSTEM '" + secret + "'><r/>", true, true);
  EXPECT_FALSE(watch.WasTouched());
}

TEST_F(NavigateXml, NoDocumentFromMemoryConnectsToTheNetwork) {
  const QuietPort port;
  EXPECT_TRUE(Load("<!DOCTYPE r [<!ENTITY e SYSTEM '" + port.Url() + "'>]><r>&e;</r>"));
  EXPECT_TRUE(Load("<!DOCTYPE r SYSTEM '" + port.Url() + "'><r/>"));
  EXPECT_FALSE(port.WasCalled());
}

TEST_F(NavigateXml, ExternalEntityInAnAttributeIsRefused) {
  const std::string secret = Directory.Write("secret", "secret");
  EXPECT_FALSE(Load("<!DOCTYPE r [<!ENTITY e SYSTEM '" + secret + "'>]><r a='&e;'/>"));
}

TEST_F(NavigateXml, ConfiguredDocumentMayUseLocalExternalEntities) {
  Directory.Write("part.xml", "<row a='local'/>");
  const std::string path = Directory.Write(
      "whole.xml", "<!DOCTYPE r [<!ENTITY e SYSTEM 'part.xml'>]><r><row a='own'/>&e;</r>");
  ASSERT_TRUE(Load("<r/>"));
  ASSERT_TRUE(Xml.Initialize(path, false, false));
  const xmlpp::NodeSet rows = Xml.FindNodes(Root(), "row");
  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_EQ(Xml.GetAttributeValue(rows[1], "a"), "local");
}

TEST_F(NavigateXml, ConfiguredDocumentIsNotBounded) {
  const std::string path =
      Directory.Write("whole.xml", WithSubset("<!ENTITY k '" + std::string(10240, 'x') + "'>",
                                              "<r>" + Repeated("<row a='&k;'/>", 40) + "</r>"));
  ASSERT_TRUE(Xml.Initialize(path, false, false));
  EXPECT_THAT(Xml.FindNodes(Root(), "row"), SizeIs(40));
}

TEST_F(NavigateXml, OverLongNamesNeverThrow) {
  const std::string name(5000, 'x');
  EXPECT_FALSE(Xml.Initialize("/" + name, false, false));
  EXPECT_FALSE(Xml.Initialize(name, false, false));
  xmlpp::Node* root = RootWith(name + "='1'");
  EXPECT_THAT(Xml.GetAttributeNames(root), ElementsAre(name));
  EXPECT_EQ(Xml.GetAttributeValue(root, name), "1");
  EXPECT_TRUE(Load("<!DOCTYPE r [<!ENTITY e SYSTEM '/" + name + "'>]><r>&e;</r>"));
}

TEST_F(NavigateXml, DeepDocumentsNeverCrash) {
  EXPECT_TRUE(Load(Repeated("<a>", 100) + Repeated("</a>", 100)));
  for (const int depth : {255, 256, 257, 2000, 200000}) {
    EXPECT_NO_THROW(Load(Repeated("<a>", depth) + Repeated("</a>", depth))) << depth;
    EXPECT_NO_THROW(Load(Repeated("<a>", depth))) << depth;
  }
}

TEST_F(NavigateXml, LongChainOfEntitiesNeverCrashes) {
  std::string subset = "<!ENTITY e0 'x'>";
  for (int i = 1; i < 5000; ++i) {
    subset += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
  }
  EXPECT_NO_THROW(Load(WithSubset(subset, "<r>&e4999;</r>")));
  EXPECT_NO_THROW(Load(WithSubset(subset, "<r a='&e4999;'/>")));
}

TEST_F(NavigateXml, RandomBytesNeverThrow) {
  const std::string pieces[] = {"<",        ">",
                                "/>",       "</r>",
                                "<r>",      "<row a='1'/>",
                                "&",        ";",
                                "&#",       "<!DOCTYPE",
                                "<!ENTITY", "[",
                                "]>",       "'",
                                "\"",       "%e;",
                                "&e;",      "<![CDATA[",
                                "<!--",     "-->",
                                "\xff",     std::string(1, '\0'),
                                " e ",      "SYSTEM"};
  for (unsigned int seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    std::string document = random() % 2 == 0 ? "<r>" : "<!DOCTYPE r [";
    for (auto count = random() % 30; count > 0; --count) {
      document += pieces[random() % std::size(pieces)];
    }
    EXPECT_NO_THROW(Load(document)) << document;
  }
}
