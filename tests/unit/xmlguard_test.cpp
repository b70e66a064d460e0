#include "kaXmlGuard.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <libxml/parser.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hostile_documents.h"
#include "kaNavigateXML.h"
#include "output_of.h"
#include "support/temp_dir.h"

namespace {

using DocumentPtr = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

DocumentPtr Read(const std::string& document, int options = 0) {
  return {
      xmlReadMemory(document.c_str(), static_cast<int>(document.size()), nullptr, nullptr, options),
      &xmlFreeDoc};
}

/// The text of a document, its entities substituted, as libxml2 reads it.
std::string TextOf(const std::string& document) {
  const DocumentPtr parsed =
      Read(document, XML_PARSE_NOENT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  if (!parsed) return "not parsed";
  const std::unique_ptr<xmlChar, decltype(xmlFree)> text(
      xmlNodeGetContent(xmlDocGetRootElement(parsed.get())), xmlFree);
  return reinterpret_cast<const char*>(text.get());
}

/// A document whose entity stands for the contents of a file.
std::string Including(const std::string& systemId) {
  return "<!DOCTYPE r [<!ENTITY e SYSTEM '" + systemId + "'>]><r>a&e;b</r>";
}

/// An entity of 1024 bytes that occurs `count` times.
std::string Kilobytes(int count) {
  return WithSubset("<!ENTITY k '" + std::string(1024, 'x') + "'>",
                    "<rbl>" + Repeated("&k;", count) + "</rbl>");
}

std::string KilobytesInAttributes(int count) {
  return WithSubset("<!ENTITY k '" + std::string(1024, 'x') + "'>",
                    "<rbl>" + Repeated("<row a='&k;'/>", count) + "</rbl>");
}

std::string Converted(const char* encoding, std::string text) {
  std::string result(4 * text.size() + 4, '\0');
  char* from = text.data();
  char* to = result.data();
  std::size_t left = text.size();
  std::size_t room = result.size();
  iconv_t converter = iconv_open(encoding, "UTF-8");
  EXPECT_EQ(iconv(converter, &from, &left, &to, &room), 0U) << encoding;
  iconv_close(converter);
  result.resize(result.size() - room);
  return result;
}

/// A document in another encoding, which its declaration names.
std::string InEncoding(const char* encoding, const std::string& document) {
  return Converted(encoding,
                   std::string("<?xml version='1.0' encoding='") + encoding + "'?>" + document);
}

}  // namespace

TEST(IsPlainXml, IsADocumentThatBeginsWithAnElementAndDeclaresNothing) {
  for (const char* document :
       {"<r/>", "<rbl><row a='1'/></rbl>", "<r>&amp;&#65;</r>", "<R", "<r é='1'/>"})
    EXPECT_TRUE(IsPlainXml(document)) << document;
  for (const char* document :
       {"", "<", "r", " <r/>", "<?xml version='1.0'?><r/>", "<!DOCTYPE r><r/>", "<r><!-- --></r>",
        "<r><![CDATA[]]></r>", "<1/>", "</r>"})
    EXPECT_FALSE(IsPlainXml(document)) << document;
}

TEST(IsPlainXml, IsInUtf8) {
  const std::string document = "<r>declared</r>";
  for (const char* encoding : {"UTF-16", "UTF-16LE", "UTF-16BE", "UCS-4BE", "UCS-4LE", "IBM037"})
    EXPECT_FALSE(IsPlainXml(Converted(encoding, document))) << encoding;
  EXPECT_FALSE(IsPlainXml("\xEF\xBB\xBF" + document)) << "a byte order mark";
}

TEST(UnwordedXmlFaults, AreNotedAndForgotten) {
  const kaUnwordedXmlFaults faults;
  EXPECT_FALSE(faults.Occurred());
  EXPECT_NE(Read("<a:b/>"), nullptr) << "well-formed, though not by its namespaces";
  EXPECT_TRUE(faults.Occurred());
  EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST(UnwordedXmlFaults, EndWithIt) {
  { const kaUnwordedXmlFaults faults; }
  SilenceXmlLibrary();
  EXPECT_EQ(Read("<r"), nullptr);
  EXPECT_NE(xmlGetLastError(), nullptr);
  xmlResetLastError();
}

TEST(ExpandsWithinLimit, LimitIs256KiB) {
  EXPECT_EQ(kMaxExpandedXml, 262144U);
}

TEST(ExpandsWithinLimit, PlainDocumentsDo) {
  for (const char* document :
       {"<r/>", "<?xml version='1.0'?><rbl><row a='1'/></rbl>", "<r>&amp;&lt;&#65;</r>",
        "<!DOCTYPE r><r/>", "<!DOCTYPE r []><r/>", "<!DOCTYPE r [<!ENTITY e 'x'>]><r a='&e;'/>",
        "<!DOCTYPE r SYSTEM 'none.dtd'><r/>", "<!DOCTYPE r [<!ELEMENT r ANY>]><r/>",
        "<!DOCTYPE r [<!ATTLIST r a CDATA 'x'>]><r/>"}) {
    EXPECT_TRUE(ExpandsWithinLimit(document)) << document;
  }
}

TEST(ExpandsWithinLimit, LargeDocumentWithoutATypeDeclarationHasNothingToExpand) {
  const std::string text(1 << 20, 'x');
  for (const char* start : {"", "<?xml version='1.0'?>", "<!-- none -->"})
    EXPECT_TRUE(ExpandsWithinLimit(start + ("<r>" + text + "</r>"))) << start;
}

TEST(ExpandsWithinLimit, DocumentsThatAreNotWellFormedDoNot) {
  for (const char* document :
       {"<!DOCTYPE r [<!ENTITY e 'x'>]><r>", "<!DOCTYPE r [<!ENTITY e", "<!DOCTYPE r [",
        "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>",
        "<!DOCTYPE r [<!ENTITY a '&a;'>]><r a='&a;'/>", "<!DOCTYPE r []><r>&none;</r>"}) {
    EXPECT_FALSE(ExpandsWithinLimit(document)) << document;
  }
}

TEST(ExpandsWithinLimit, ModerateExpansionsDo) {
  EXPECT_TRUE(ExpandsWithinLimit(Kilobytes(250)));
  EXPECT_TRUE(ExpandsWithinLimit(KilobytesInAttributes(240)));
}

TEST(ExpandsWithinLimit, ExpansionsJustAboveDoNot) {
  EXPECT_FALSE(ExpandsWithinLimit(Kilobytes(257)));
  EXPECT_FALSE(ExpandsWithinLimit(KilobytesInAttributes(257)));
}

TEST(ExpandsWithinLimit, DeclarationsInOtherEncodingsCount) {
  for (const char* encoding : {"UTF-16", "UTF-16LE", "UTF-16BE", "UCS-4BE", "IBM037"}) {
    EXPECT_TRUE(ExpandsWithinLimit(InEncoding(encoding, Kilobytes(250)))) << encoding;
    EXPECT_FALSE(ExpandsWithinLimit(InEncoding(encoding, Kilobytes(257)))) << encoding;
  }
}

TEST(ExpandsWithinLimit, EachOccurrenceCountsForItself) {
  const std::string subset =
      "<!ENTITY k '" + std::string(1024, 'x') + "'><!ENTITY m '" + Repeated("&k;", 100) + "'>";
  EXPECT_TRUE(ExpandsWithinLimit(WithSubset(subset, "<r>&m;<x>&m;</x></r>")));
  EXPECT_FALSE(ExpandsWithinLimit(WithSubset(subset, "<r>&m;<x>&m;</x>&m;</r>")));
}

TEST(ExpandsWithinLimit, CharacterReferenceInAnEntityCountsAsOneByte) {
  const std::string subset = "<!ENTITY k '" + Repeated("&#38;#120;", 1024) + "'>";
  EXPECT_TRUE(ExpandsWithinLimit(WithSubset(subset, "<r>" + Repeated("&k;", 240) + "</r>")));
  EXPECT_FALSE(ExpandsWithinLimit(WithSubset(subset, "<r>" + Repeated("&k;", 257) + "</r>")));
}

TEST(ExpandsWithinLimit, DefaultAttributesCountOnEveryElement) {
  const std::string subset = "<!ATTLIST row a CDATA '" + std::string(1024, 'x') + "'>";
  EXPECT_TRUE(ExpandsWithinLimit(WithSubset(subset, "<r>" + Repeated("<row/>", 240) + "</r>")));
  EXPECT_FALSE(ExpandsWithinLimit(WithSubset(subset, "<r>" + Repeated("<row/>", 257) + "</r>")));
}

class EntityBomb : public testing::TestWithParam<NamedDocument> {};

TEST_P(EntityBomb, DoesNotExpandWithinTheLimit) {
  const long before = PeakMegabytes();
  EXPECT_FALSE(ExpandsWithinLimit(GetParam().Text));
  EXPECT_LT(PeakMegabytes() - before, kModestMegabytes);
}

INSTANTIATE_TEST_SUITE_P(Each, EntityBomb, testing::ValuesIn(EntityBombs()),
                         [](const auto& bomb) { return bomb.param.Name; });

TEST(ExpandsWithinLimit, UnusedBombDoes) {
  EXPECT_TRUE(ExpandsWithinLimit(WithSubset(NestedEntities("lol"), "<rbl><row/></rbl>")));
}

TEST(ExpandsWithinLimit, OpensNothingAndPrintsNothing) {
  const support::TempDir directory;
  const std::string secret = directory.Write("secret", "secret");
  const FileWatch watch(secret);
  ASSERT_TRUE(watch.Works());
  for (const std::string& document :
       {Including(secret), Including("file://" + secret),
        "<!DOCTYPE r [<!ENTITY % e SYSTEM '" + secret + "'>%e;]><r/>",
        "<!DOCTYPE r SYSTEM '" + secret + "'><r/>", std::string("<!DOCTYPE r [<r")}) {
    EXPECT_EQ(OutputOf([&] { ExpandsWithinLimit(document); }), Nothing()) << document;
    EXPECT_FALSE(watch.WasTouched()) << document;
  }
}

TEST(ExpandsWithinLimit, FileWatchSeesAnOpening) {
  const support::TempDir directory;
  const std::string path = directory.Write("x", "x");
  const FileWatch watch(path);
  ASSERT_TRUE(watch.Works());
  EXPECT_FALSE(watch.WasTouched());
  EXPECT_EQ(support::ReadFile(path), "x");
  EXPECT_TRUE(watch.WasTouched());
}

TEST(ClosedXmlWorld, ExternalEntityReadsAsNothing) {
  const support::TempDir directory;
  const std::string secret = directory.Write("secret", "secret");
  const FileWatch watch(secret);
  ASSERT_TRUE(watch.Works());
  const kaClosedXmlWorld closed;
  for (const std::string& id : {secret, "file://" + secret, "file:" + secret,
                                "file://localhost" + secret, "/tmp/.." + secret}) {
    EXPECT_EQ(TextOf(Including(id)), "ab") << id;
    EXPECT_FALSE(watch.WasTouched()) << id;
  }
}

TEST(ClosedXmlWorld, WithoutItEntitiesAreRead) {
  const support::TempDir directory;
  EXPECT_EQ(TextOf(Including(directory.Write("local", "text"))), "atextb");
}

TEST(ClosedXmlWorld, EndsWithItsLife) {
  const support::TempDir directory;
  const std::string document = Including(directory.Write("local", "text"));
  {
    const kaClosedXmlWorld closed;
    EXPECT_EQ(TextOf(document), "ab");
  }
  EXPECT_EQ(TextOf(document), "atextb");
}

TEST(ClosedXmlWorld, Nests) {
  const support::TempDir directory;
  const std::string document = Including(directory.Write("local", "text"));
  const kaClosedXmlWorld outer;
  { const kaClosedXmlWorld inner; }
  EXPECT_EQ(TextOf(document), "ab");
}

TEST(ClosedXmlWorld, OtherThreadsReadOn) {
  const support::TempDir directory;
  const std::string document = Including(directory.Write("local", "text"));
  std::string other;
  const kaClosedXmlWorld closed;
  std::thread([&] { other = TextOf(document); }).join();
  EXPECT_EQ(other, "atextb");
  EXPECT_EQ(TextOf(document), "ab");
}

TEST(ClosedXmlWorld, ClosedAndOpenThreadsDoNotDisturbEachOther) {
  const support::TempDir directory;
  const std::string document = Including(directory.Write("local", "text"));
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, closed = thread % 2 == 0] {
      for (int i = 0; i < 200; ++i) {
        const auto world = closed ? std::make_unique<kaClosedXmlWorld>() : nullptr;
        if (TextOf(document) != (closed ? "ab" : "atextb")) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(SilenceXmlLibrary, FaultyDocumentsPrintNothing) {
  const std::string faulty = "<r><x></r>";
  EXPECT_EQ(OutputOf([&] {
              SilenceXmlLibrary();
              xmlFreeDoc(xmlReadMemory(faulty.c_str(), static_cast<int>(faulty.size()), nullptr,
                                       nullptr, 0));
            }),
            Nothing());
}

TEST(SilenceXmlLibrary, HoldsForTheCallingThread) {
  const std::string faulty = "<r><x></r>";
  EXPECT_EQ(OutputOf([&] {
              std::thread([&] {
                SilenceXmlLibrary();
                xmlFreeDoc(xmlReadMemory(faulty.c_str(), static_cast<int>(faulty.size()), nullptr,
                                         nullptr, 0));
              }).join();
            }),
            Nothing());
}
