#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "schema_files.h"
#include "xml_schema.h"

namespace toolstest {

namespace {

/// One mistake in the complete document or block.
struct Mistake {
  std::string Name;
  std::string Path;   ///< of the element or attribute that is wrong
  std::string Right;  ///< what is replaced
  std::string Wrong;
  std::string At = {};  ///< stands in the line that is named; "" for Wrong
};

void PrintTo(const Mistake& mistake, std::ostream* out) {
  *out << mistake.Path << ": " << mistake.Wrong;
}

std::string NameOf(const testing::TestParamInfo<Mistake>& info) {
  return info.param.Name;
}

int LineOf(const std::string& text, const std::string& part) {
  const auto at = text.find(part);
  if (at == std::string::npos) throw std::logic_error("not there: " + part);
  return 1 + static_cast<int>(std::count(text.begin(), text.begin() + std::ptrdiff_t(at), '\n'));
}

/// Where a case or language is not understood, the places that name it are refused as well.
bool IsConsequence(const Refusal& refusal) {
  return refusal.Message.find("No match found for key-sequence") != std::string::npos;
}

/// Refused, and in the mistake's line alone.
void ExpectRefused(const XmlSchema& schema, const std::string& document, const Mistake& mistake) {
  const std::string wrong = Replaced(document, mistake.Right, mistake.Wrong);
  const int line = LineOf(wrong, mistake.At.empty() ? mistake.Wrong : mistake.At);
  const std::vector<Refusal> refusals = schema.Check(wrong);
  ASSERT_FALSE(refusals.empty());
  EXPECT_EQ(refusals[0].Line, line) << refusals[0].Message;
  for (const Refusal& refusal : refusals) {
    if (IsConsequence(refusal)) continue;
    EXPECT_EQ(refusal.Line, line) << refusal.Message;
  }
}

std::set<std::string> PathsOf(const std::vector<Mistake>& mistakes) {
  std::set<std::string> paths;
  for (const Mistake& mistake : mistakes)
    paths.insert(mistake.Path);
  return paths;
}

const std::string kHas = "Station/References/Language";
const std::string kSays = "Station/Assembly/Language";
const std::string kAnnouncement = kSays + "/Announcement";
const std::string kSpeech = kAnnouncement + "/Speech";
const std::string kCondition = kAnnouncement + "/Condition";
const std::string kConditional = kCondition + "/Speech";
const std::string kFormat = "Station/Assembly/RBLFormat";
const std::string kAttribute = kFormat + "/Attribute";
const std::string kCase = "Station/Assembly/Case";
const std::string kVoice = R"(<Voice sex="female">de</Voice>)";
const std::string kSteady = R"(<Element id="sorry" trait="steady" text="Wir)";
const std::string kShared = R"(<Element id="destination" trait="temp"/>)";
const std::string kFirst = R"(<Announcement position="0" positionMax="2">)";
const std::string kSecond = R"(<Announcement position="1">)";
const std::string kGerman = R"x(prefix="\voice(de)" prefer="female">)x";
const std::string kLate = R"(prefix="nach " suffix="." lexicon="stations"/>)";
const std::string kAlways = R"(prefix="auch nach " suffix="!" lexicon="x"/>)";
const std::string kDelayed = R"(<Case id="delayed" substr="delay" type="number")";
const std::string kPart = R"(begin="0" end="-1" operator="gt")";
const std::string kLong = R"(<Case id="long" strlen="dest" operator="ge")";

const std::vector<Mistake> kDocumentMistakes = {
    {"AttributeOfTheRoot", "Station", "<Station>", R"(<Station name="x">)"},
    {"SectionMisspelt", "Station/References", "  <Assembly>", "  <Reference/>\n  <Assembly>",
     "<Reference/>"},
    {"SectionTwice", "Station/References", "  <Assembly>", "  <References/>\n  <Assembly>",
     "<References/>"},
    {"SectionWithAttribute", "Station/Assembly", "<Assembly>", R"(<Assembly name="x">)"},
    {"SectionWithStranger", "Station/Assembly", "<RBLFormat", "<Cases/>\n    <RBLFormat",
     "<Cases/>"},

    {"LanguageInSmallLetters", kHas, R"(<Language name="all">)",
     R"(<language name="all"/><Language name="all">)"},
    {"LanguageWithText", kHas, kVoice, "words", R"(<Language name="de">)"},
    {"LanguageWithoutName", kHas + "@name", R"(<Language name="all">)", "<Language>"},
    {"LanguageNameWithDigitAtTheEnd", kHas + "@name", R"(<Language name="all">)",
     R"(<Language name="de1">)"},
    {"LanguageNameWithBlank", kHas + "@name", R"(<Language name="all">)",
     R"(<Language name="a ll">)"},
    {"LanguageNameWithSlash", kHas + "@name", R"(<Language name="all">)",
     R"(<Language name="a/l">)"},
    {"LanguageTwice", kHas + "@name", R"(<Language name="all">)", "<Language\n name=\"en\">",
     "name=\"en\">\n      <Element id=\"gong\""},
    {"VoiceOfOneLetter", kHas + "/Voice", kVoice, R"(<Voice sex="female">d</Voice>)"},
    {"VoiceWithBlankInFront", kHas + "/Voice", kVoice, R"(<Voice sex="female"> de</Voice>)"},
    {"VoiceEmpty", kHas + "/Voice", kVoice, R"(<Voice sex="female"/>)"},
    {"SexMissing", kHas + "/Voice@sex", kVoice, "<Voice>de</Voice>"},
    {"SexOfOneLetter", kHas + "/Voice@sex", kVoice, R"(<Voice sex="m">de</Voice>)"},
    {"SexWithCapital", kHas + "/Voice@sex", kVoice, R"(<Voice sex="Male">de</Voice>)"},
    {"LexiconWithText", kHas + "/Lexicon", R"(<Lexicon name="stations"/>)",
     "<Lexicon name=\"stations\">x</Lexicon>"},
    {"LexiconWithoutName", kHas + "/Lexicon@name", R"(<Lexicon name="stations"/>)",
     R"(<Lexicon id="stations"/>)"},
    {"LexiconWithEmptyName", kHas + "/Lexicon@name", R"(<Lexicon name="stations"/>)",
     R"(<Lexicon name=""/>)"},
    {"ElementInSmallLetters", kHas + "/Element", kShared,
     R"(<element id="destination" trait="temp"/>)"},
    {"ElementWithPrefix", kHas + "/Element", kShared,
     R"(<Element id="destination" trait="temp" prefix="x"/>)"},
    {"ElementWithoutId", kHas + "/Element@id", kShared, R"(<Element trait="temp"/>)"},
    {"ElementIdWithBlankAtTheEnd", kHas + "/Element@id", kShared,
     R"(<Element id="destination " trait="temp"/>)"},
    {"ElementTwice", kHas + "/Element@id", kShared, R"(<Element id="gong" trait="temp"/>)"},
    {"TraitMissing", kHas + "/Element@trait", kShared, R"(<Element id="destination"/>)"},
    {"TraitWithCapital", kHas + "/Element@trait", kSteady,
     R"(<Element id="sorry" trait="Steady" text="Wir)"},
    {"TraitMisspelt", kHas + "/Element@trait", kShared,
     R"(<Element id="destination" trait="tmp"/>)"},
    {"TextWithCapital", kHas + "/Element@text", kSteady,
     R"(<Element id="sorry" trait="steady" Text="Wir)"},

    {"LanguageUnknown", kSays, R"(<Language name="en" generalprefix)",
     R"(<Language name="fr" generalprefix)"},
    {"LanguageWithoutAnnouncement", kSays, R"(<Language name="en" generalprefix)",
     "<Language\n name=\"all\"/><Language name=\"en\" generalprefix", "name=\"all\"/><"},
    {"SharedLanguageSpoken", kSays + "@name", R"(<Language name="en" generalprefix)",
     R"(<Language name="all" generalprefix)"},
    {"SpokenLanguageTwice", kSays + "@name", R"(<Language name="en" generalprefix)",
     "<Language name=\"de\" generalprefix",
     R"x(<Language name="de" generalprefix="\voice(en-gb)")x"},
    {"SpokenLanguageWithoutName", kSays + "@name", R"(<Language name="en" generalprefix)",
     R"(<Language generalprefix)"},
    {"GeneralPrefixWithCapital", kSays + "@generalprefix", R"x(generalprefix="\voice(en-gb)")x",
     R"x(generalPrefix="\voice(en-gb)")x"},
    {"PreferMisspelt", kSays + "@prefer", kGerman, R"x(prefix="\voice(de)" prefer="femal">)x"},
    {"PreferInCapitals", kSays + "@prefer", kGerman, R"x(prefix="\voice(de)" prefer="MALE">)x"},
    {"ThirdAnnouncement", kAnnouncement, kSecond,
     "<Announcement position=\"1\"><Speech id=\"gong\"/> </Announcement>\n      <Announcement>",
     "<Announcement>"},
    {"AnnouncementWithoutPhrase", kAnnouncement,
     "<Announcement position=\"0\">\n        <Speech id=\"sorry\"/>",
     R"(<Announcement position="0">)"},
    {"AnnouncementWithText", kAnnouncement, kFirst, kFirst + "words"},
    {"PositionTwo", kAnnouncement + "@position", kSecond, R"(<Announcement position="2">)"},
    {"PositionTwice", kAnnouncement + "@position", kSecond, R"(<Announcement position="00">)"},
    {"PositionInWords", kAnnouncement + "@position", kSecond, R"(<Announcement position="one">)"},
    {"PositionMisspelt", kAnnouncement + "@position", kSecond, R"(<Announcement positon="1">)"},
    {"PositionMaxInSmallLetters", kAnnouncement + "@positionMax", kFirst,
     R"(<Announcement position="0" positionmax="2">)"},
    {"PositionMaxNegative", kAnnouncement + "@positionMax", kFirst,
     R"(<Announcement position="0" positionMax="-1">)"},
    {"SpeechMisspelt", kSpeech, R"(<Speech id="gong"/>)", R"(<Speach id="gong"/>)"},
    {"SpeechWithText", kSpeech, R"(<Speech id="gong"/>)", R"(<Speech id="gong">x</Speech>)"},
    {"SpeechWithoutId", kSpeech + "@id", R"(<Speech id="gong"/>)", R"(<Speech ref="gong"/>)"},
    {"SpeechPrefixMisspelt", kSpeech + "@prefix", kAlways,
     R"(prefx="auch nach " suffix="!" lexicon="x"/>)"},
    {"SpeechSuffixWithCapital", kSpeech + "@suffix", kAlways,
     R"(prefix="auch nach " Suffix="!" lexicon="x"/>)"},
    {"SpeechLexiconPlural", kSpeech + "@lexicon", kAlways,
     R"(prefix="auch nach " suffix="!" lexica="x"/>)"},
    {"SpeechLexiconWithBlank", kSpeech + "@lexicon", kAlways,
     R"(prefix="auch nach " suffix="!" lexicon="x "/>)"},
    {"ConditionInACondition", kCondition, R"(<Condition name="late">)",
     R"(<Condition name="late"><Condition name="long"><Speech id="gong"/></Condition>)"},
    {"ConditionWithoutPhrase", kCondition, R"(<Speech id="gong"/>)",
     "<Condition name=\"late\"/>\n        <Speech id=\"gong\"/>", "<Condition name=\"late\"/>"},
    {"ConditionWithoutName", kCondition + "@name", R"(<Condition name="long">)", "<Condition>"},
    {"ConditionThatNoCaseHas", kCondition + "@name", R"(<Condition name="long">)",
     R"(<Condition name="Long">)"},
    {"PhraseMisspelt", kConditional, R"(<Speech id="sorry"/></Condition>)",
     R"(<Speech id="sorry"/><Sound id="gong"/></Condition>)"},
    {"PhraseWithEmptyId", kConditional + "@id", R"(<Speech id="sorry"/></Condition>)",
     R"(<Speech id=""/></Condition>)"},
    {"PhrasePrefixMisspelt", kConditional + "@prefix", kLate,
     R"(preffix="nach " suffix="." lexicon="stations"/>)"},
    {"PhraseSuffixMisspelt", kConditional + "@suffix", kLate,
     R"(prefix="nach " sufix="." lexicon="stations"/>)"},
    {"PhraseLexiconWithBlank", kConditional + "@lexicon", kLate,
     R"(prefix="nach " suffix="." lexicon=" stations"/>)"},

    {"FormatTwice", kFormat, "    <Case id=\"long\"",
     "    <RBLFormat maxrows=\"1\"/>\n    <Case id=\"long\"", "<RBLFormat maxrows=\"1\"/>"},
    {"FormatWithRow", kFormat, R"(<Attribute name="delay"/>)", R"(<row delay="5"/>)"},
    {"MinRowsNegative", kFormat + "@minrows", R"(minrows="1" max)", R"(minrows="-1" max)"},
    {"MinRowsInWords", kFormat + "@minrows", R"(minrows="1" max)", R"(minrows="one" max)"},
    {"MaxRowsMissing", kFormat + "@maxrows", R"(minrows="1" maxrows="6")", R"(minrows="1")"},
    {"MaxRowsZero", kFormat + "@maxrows", R"(maxrows="6")", R"(maxrows="0")"},
    {"MaxRowsWithCapital", kFormat + "@maxrows", R"(minrows="1" maxrows="6")",
     R"(minrows="1" maxRows="6")"},
    {"AttributeWithStranger", kAttribute, R"(<Attribute name="delay"/>)",
     R"(<Attribute name="delay" type="number"/>)"},
    {"AttributeWithoutName", kAttribute + "@name", R"(<Attribute name="delay"/>)", "<Attribute/>"},
    {"AttributeNameWithBlank", kAttribute + "@name", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="de lay"/>)"},
    {"AttributeNameThatBeginsWithDigit", kAttribute + "@name", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="1st"/>)"},
    {"AttributeTwice", kAttribute + "@name", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="dest"/>)"},
    {"AssignToEmpty", kAttribute + "@assignto", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="delay" assignto=""/>)"},
    {"AssignToTwice", kAttribute + "@assignto", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="delay" assignto="destination"/>)"},
    {"AssignToWithCapital", kAttribute + "@assignto", R"(<Attribute name="delay"/>)",
     R"(<Attribute name="delay" assignTo="gong"/>)"},
    {"MustHaveValueOn", kAttribute + "@musthavevalue", R"(musthavevalue="yes")",
     R"(musthavevalue="on")"},
    {"MustHaveValueInMixedLetters", kAttribute + "@musthavevalue", R"(musthavevalue="yes")",
     R"(musthavevalue="yES")"},

    {"CaseInSmallLetters", kCase, kLong, R"(<case id="long" strlen="dest" operator="ge")"},
    {"CaseWithTwoTests", kCase, kLong,
     R"(<Case id="long" strlen="dest" substr="dest" operator="ge")"},
    {"CaseWithoutId", kCase + "@id", R"(<Case id="late" operator="AND">)",
     "<Case operator=\"AND\"><!--1-->", "<!--1-->"},
    {"CaseTwice", kCase + "@id", kLong,
     "<Case id=\"delayed\" strlen=\"dest\"/><Case id=\"long\" strlen=\"dest\" operator=\"ge\"",
     "<Case id=\"delayed\" strlen=\"dest\"/>"},
    {"SubstrEmpty", kCase + "@substr", kDelayed, R"(<Case id="delayed" substr="" type="number")"},
    {"SubstrWithCapital", kCase + "@substr", kDelayed,
     R"(<Case id="delayed" subStr="delay" type="number")"},
    {"StrlenWithBlank", kCase + "@strlen", kLong,
     R"(<Case id="long" strlen="de st" operator="ge")"},
    {"TypeInCapitals", kCase + "@type", kDelayed,
     R"(<Case id="delayed" substr="delay" type="NUMBER")"},
    {"TypeMisspelt", kCase + "@type", kDelayed, R"(<Case id="delayed" substr="delay" type="text")"},
    {"OperatorMisspelt", kCase + "@operator", kPart, R"(begin="0" end="-1" operator="greater")"},
    {"OperatorInCapitals", kCase + "@operator", kPart, R"(begin="0" end="-1" operator="GT")"},
    {"CombinationInSmallLetters", kCase + "@operator", R"(operator="AND")", R"(operator="and")"},
    {"CombinationUnknown", kCase + "@operator", R"(operator="AND")", R"(operator="XOR")"},
    {"BeginNegative", kCase + "@begin", kPart, R"(begin="-1" end="-1" operator="gt")"},
    {"BeginEmpty", kCase + "@begin", kPart, R"(begin="" end="-1" operator="gt")"},
    {"EndBelowMinusOne", kCase + "@end", kPart, R"(begin="0" end="-2" operator="gt")"},
    {"EndInWords", kCase + "@end", kPart, R"(begin="0" end="last" operator="gt")"},
    {"ValueWithCapital", kCase + "@value", R"(value="20")", R"(Value="20")"},
    {"CaseInACaseWithId", kCase + "/Case", R"(<Case ref="delayed"/>)",
     R"(<Case ref="delayed" id="x"/>)"},
    {"CaseBelowACaseInACase", kCase + "/Case", R"(<Case ref="delayed"/>)",
     R"(<Case ref="delayed"><Case ref="long"/></Case>)"},
    {"RefMissing", kCase + "/Case@ref", R"(<Case ref="delayed"/>)", "<Case/>"},
    {"RefThatNoCaseHas", kCase + "/Case@ref", R"(<Case ref="delayed"/>)",
     R"(<Case ref="Delayed"/>)"},
};

class MistakeInADocument : public testing::TestWithParam<Mistake> {};

TEST_P(MistakeInADocument, IsRefusedInItsLine) {
  ExpectRefused(AnnouncementSchema(), CompleteDocument(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Schema, MistakeInADocument, testing::ValuesIn(kDocumentMistakes), NameOf);

TEST(MistakesInADocument, AreOfEveryElementAndAttribute) {
  EXPECT_EQ(PathsOf(kDocumentMistakes), AnnouncementSchema().Paths());
}

TEST(MissingSection, IsRefusedAtTheElementAroundIt) {
  const std::string references = R"(<References><Language name="de"/></References>)";
  const std::string language =
      R"(<Language name="de"><Announcement><Speech id="x"/> </Announcement></Language>)";
  const std::string format = R"(<RBLFormat maxrows="1"/>)";
  const std::string test = R"(<Case id="x" strlen="a" operator="eq" value="1"/>)";
  const std::string document = "<Station>" + references + "\n<Assembly>\n" + language + format +
                               test + "\n</Assembly>\n</Station>";
  const XmlSchema schema = AnnouncementSchema();
  ASSERT_TRUE(schema.Check(document).empty());
  ExpectRefused(schema, document, {"", "", references, "", "<Station>"});
  for (const std::string& section : {language, format, test})
    ExpectRefused(schema, document, {"", "", section, "", "<Assembly>"});
}

TEST(RootOfADocument, HasItsName) {
  EXPECT_FALSE(AnnouncementSchema().Check("<Ansagen/>").empty());
  EXPECT_FALSE(AnnouncementSchema().Check("<Case id=\"x\"/>").empty());
  EXPECT_FALSE(BlockSchema().Check("<row/>").empty());
}

const std::vector<Mistake> kBlockMistakes = {
    {"AttributeOfTheRoot", "rbl", "<rbl>", R"(<rbl version="1">)"},
    {"TextInTheRoot", "rbl", "  <row/>", "words\n", "<rbl>"},
    {"ElseInTheRoot", "rbl", "<row/>", "<train/>"},
    {"RowWithCapital", "rbl/row", "<row/>", "<Row/>"},
    {"RowInARow", "rbl/row", "<row/>", "<row><row/></row>"},
    {"RowWithText", "rbl/row", "<row/>", "<row>Uelzen</row>"},
    {"ValueInANamespace", "rbl/row", "<row/>", R"(<row xml:lang="de"/>)"},
};

class MistakeInABlock : public testing::TestWithParam<Mistake> {};

TEST_P(MistakeInABlock, IsRefusedInItsLine) {
  ExpectRefused(BlockSchema(), CompleteBlock(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Schema, MistakeInABlock, testing::ValuesIn(kBlockMistakes), NameOf);

TEST(MistakesInABlock, AreOfEveryElement) {
  EXPECT_EQ(PathsOf(kBlockMistakes), BlockSchema().Paths());
}

}  // namespace

}  // namespace toolstest
