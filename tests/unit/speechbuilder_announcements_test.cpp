#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kaCaseCheck.h"
#include "kaCompositionTrace.h"
#include "kaRBLDataContent.h"
#include "kaSpeechbuilder.h"
#include "support/capture_output.h"
#include "support/recording_shell.h"
#include "support/station.h"

namespace {

using support::AnnouncementDocument;
using support::Station;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A builder that has read a document, and the texts that it makes of data blocks.
class AnnouncementTest : public ::testing::Test {
 protected:
  void Load(const AnnouncementDocument& document) {
    station.SetDocument(document);
    const support::CaptureOutput quiet;
    ASSERT_TRUE(builder.Initialize(Station::kDocument));
  }

  /// Loads a document with the one German announcement at position 0.
  void LoadPhrases(const std::string& phrases) { Load(AnnouncementDocument::WithPhrases(phrases)); }

  /// Reads a block of the given rows.
  static std::unique_ptr<CkaRBLDataContent> Parse(const std::string& rows) {
    auto content = std::make_unique<CkaRBLDataContent>();
    EXPECT_TRUE(content->Initialize("<rbl>" + rows + "</rbl>", false, true));
    content->ReadContent();
    return content;
  }

  bool Create(const std::string& rows) {
    const auto content = Parse(rows);
    return builder.CreateAnnouncements(*content, content->GetRowCount());
  }

  /// The text made of a block's first row in German.
  std::string TextOf(const std::string& row) {
    const support::CaptureOutput quiet;
    Create(row);
    return Saved("de0");
  }

  /// The text handed to the engine for a language and row, e.g. "de0".
  std::string Saved(const std::string& name) const {
    return support::ReadFile(station.Sub("store/" + name));
  }

  bool IsSaved(const std::string& name) const {
    return std::filesystem::exists(station.Sub("store/" + name));
  }

  std::string SoundTag(const std::string& name) const {
    return " \\audio(play=" + station.Sub("sounds/" + name) + ".wav) ";
  }

  std::string SteadyTag(const std::string& name) const {
    return " \\audio(play=" + station.Sub("steady/" + name) + ".wav) ";
  }

  /// What is printed when the engine makes a text that is new.
  std::string EngineLookup() const { return station.Echo("savespeechvoxeng"); }

  kaCompositionTrace TraceOf(const std::string& row);

  Station station;
  support::RecordingShell shell;
  CkaSpeechbuilder builder;
};

using CheckDataValidity = AnnouncementTest;
using CreateAnnouncements = AnnouncementTest;
using AnnouncementIndex = AnnouncementTest;
using AnnouncementPhrase = AnnouncementTest;
using AnnouncementCase = AnnouncementTest;
using AttributeOfElement = AnnouncementTest;
using ComposeText = AnnouncementTest;

// --- Completeness of a block

TEST_F(CheckDataValidity, PrintsItsNameAndAcceptsCompleteRows) {
  Load({});
  const auto content = Parse("<row train='ICE 1'/><row train='ICE 2' dest=''/>");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.CheckDataValidity(*content, 2));
  EXPECT_EQ(output.Out(), "CheckDataValidity\n");
  EXPECT_EQ(output.Err(), "");
}

TEST_F(CheckDataValidity, RequiredAttributeEmptyOrAbsentInAnyRowIsIncomplete) {
  Load({});
  const auto content =
      Parse("<row train='a'/><row train=''/><row dest='Ulm'/><row/><row train='b'/>");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.CheckDataValidity(*content, 1));
  EXPECT_FALSE(builder.CheckDataValidity(*content, 2));
  EXPECT_FALSE(builder.CheckDataValidity(*content, 5));
  EXPECT_EQ(output.Out(), "CheckDataValidity\nCheckDataValidity\nCheckDataValidity\n")
      << "no attribute is named";
  EXPECT_EQ(output.Err(), "");
}

TEST_F(CheckDataValidity, LooksOnlyAtTheRowsItIsAskedFor) {
  Load({});
  const support::CaptureOutput quiet;
  EXPECT_TRUE(builder.CheckDataValidity(*Parse("<row/>"), 0));
  EXPECT_FALSE(builder.CheckDataValidity(*Parse("<row train='a'/>"), 2)) << "there is no second";
}

TEST_F(CheckDataValidity, DoesNotCountRows) {
  Load({});
  const support::CaptureOutput quiet;
  EXPECT_TRUE(builder.CheckDataValidity(*Parse(""), 0)) << "less than the least number";
  EXPECT_TRUE(
      builder.CheckDataValidity(*Parse("<row train='a'/><row train='a'/><row train='a'/>"), 3))
      << "more than the largest";
}

using FindMissingValues = AnnouncementTest;

TEST_F(FindMissingValues, TellsRowsAndAttributesInTheirOrder) {
  Load({});
  const auto content = Parse("<row train='a'/><row train=''/><row dest='Ulm'/>");
  const auto missing = builder.FindMissingValues(*content, 3);
  ASSERT_EQ(missing.size(), 2U);
  EXPECT_EQ(missing[0].Row, 1);
  EXPECT_EQ(missing[0].Attribute, "train");
  EXPECT_EQ(missing[1].Row, 2);
  EXPECT_TRUE(builder.FindMissingValues(*content, 1).empty());
}

using ReadBlock = AnnouncementTest;

TEST_F(ReadBlock, TellsWhatBecomesOfABlock) {
  Load({});
  const support::CaptureOutput quiet;
  const auto stateOf = [this](const std::string& block, int usedRows) {
    CkaRBLDataContent content;
    int rows = 0;
    const kaBlockState state = builder.ReadBlock(block, content, rows);
    EXPECT_EQ(rows, usedRows) << block;
    return state;
  };
  EXPECT_EQ(stateOf("<b><row train='a'/></b>", 1), kaBlockState::Complete);
  EXPECT_EQ(stateOf("<b><row train='a'/><row/></b>", 2), kaBlockState::ValueMissing);
  EXPECT_EQ(stateOf("<b/>", 0), kaBlockState::TooFewRows);
  EXPECT_EQ(stateOf("<b>", 0), kaBlockState::NoXml);
}

// --- Announcements of a block

TEST_F(CreateAnnouncements, EveryRowIsSavedInEveryLanguageInTheirOrder) {
  Load({});
  const support::CaptureOutput quiet;
  EXPECT_TRUE(Create("<row train='ICE 1'/><row train='RE 2'/>"));
  EXPECT_EQ(Saved("de0"), "\\voice(de) " + SoundTag("gong") + "Zug ICE 1.");
  EXPECT_EQ(Saved("en0"), "\\voice(en) Train ICE 1.");
  EXPECT_EQ(Saved("de1"), "\\voice(de) Auch RE 2.");
  EXPECT_EQ(Saved("en1"), "\\voice(en) Also RE 2.");
  const std::string store = station.Sub("store/");
  const auto save = [&](const std::string& name) {
    return "cd /opt/tts/bin; /opt/tts/bin/save \"" + store + name + "\" " + store + name + ".wav";
  };
  EXPECT_THAT(shell.Commands(),
              ElementsAre(save("de0"), save("en0"), save("de1"), save("en1"),
                          "rm $(find " + station.Sub("play") + "/* -name \"*.wav\")"));
}

TEST_F(CreateAnnouncements, PrintsEachStepInOrder) {
  Load({});
  const auto content = Parse("<row train='ICE 1' delay='5'/><row train='RE 2'/>");
  const support::CaptureOutput output;
  EXPECT_TRUE(builder.CreateAnnouncements(*content, 2));
  EXPECT_EQ(output.Out(), "select lang 0\nprepare steady: " + Saved("de0") + "\n" + EngineLookup() +
                              "select lang 0\n" + EngineLookup() + "select lang 1\n" +
                              EngineLookup() + "select lang 1\n" + EngineLookup());
  EXPECT_EQ(output.Err(),
            "Backup-File nicht vorhanden\nBackup-File nicht vorhanden\n"
            "Backup-File nicht vorhanden\nBackup-File nicht vorhanden\n");
}

TEST_F(CreateAnnouncements, OnlyTheRowsAskedForAreMade) {
  Load({});
  const support::CaptureOutput quiet;
  EXPECT_TRUE(builder.CreateAnnouncements(*Parse("<row train='a'/><row train='b'/>"), 1));
  EXPECT_TRUE(IsSaved("en0"));
  EXPECT_FALSE(IsSaved("de1"));
}

TEST_F(CreateAnnouncements, WithoutRowsOnlyTheRotationHappens) {
  Load({});
  const support::CaptureOutput output;
  EXPECT_TRUE(Create(""));
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_THAT(shell.Commands(),
              ElementsAre("rm $(find " + station.Sub("play") + "/* -name \"*.wav\")"));
}

TEST_F(CreateAnnouncements, TextBeginsWithTheGeneralPrefixAndABlank) {
  LoadPhrases("");
  EXPECT_EQ(TextOf("<row train='x'/>"), "P ");
}

TEST_F(CreateAnnouncements, LanguagesAreCountedInTheReferences) {
  AnnouncementDocument document;
  document.References = AnnouncementDocument::WithPhrases("").References;
  Load(document);
  const support::CaptureOutput quiet;
  EXPECT_TRUE(Create("<row train='a'/>"));
  EXPECT_TRUE(IsSaved("de0"));
  EXPECT_FALSE(IsSaved("en0"));
}

TEST_F(CreateAnnouncements, LanguageMissingInTheSequenceThrowsAfterTheOthersWereSaved) {
  AnnouncementDocument document;
  document.Languages = AnnouncementDocument::WithPhrases("").Languages;
  Load(document);
  const support::CaptureOutput quiet;
  EXPECT_THROW(Create("<row train='a'/>"), std::out_of_range);
  EXPECT_TRUE(IsSaved("de0"));
  EXPECT_EQ(shell.Commands().size(), 1U) << "nothing is rotated";
}

// --- The announcement index is a truth value

TEST_F(AnnouncementIndex, FirstRowTakesTheFirstAnnouncementFurtherRowsTheSecond) {
  Load({});
  const support::CaptureOutput output;
  Create("<row train='a'/><row train='b'/><row train='c'/><row train='d'/>");
  EXPECT_EQ(Saved("de3"), "\\voice(de) Auch d.");
  EXPECT_THAT(output.Out(), HasSubstr("select lang 1\n"));
}

TEST_F(AnnouncementIndex, LongRangeAtPositionZeroTakesTheFirstForEveryRowOfIt) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("<Speech id='zug'/>");
  document.Languages =
      "<Language name='de'><Announcement position='0' positionMax='1'> "
      "<Speech id='zug' prefix='1:'/> </Announcement><Announcement position='1'> "
      "<Speech id='zug' prefix='2:'/> </Announcement></Language>";
  Load(document);
  const support::CaptureOutput output;
  Create("<row train='a'/><row train='b'/><row train='c'/>");
  EXPECT_EQ(Saved("de0"), " 1:a");
  EXPECT_EQ(Saved("de1"), " 1:b");
  EXPECT_EQ(Saved("de2"), " 2:c");
}

TEST_F(AnnouncementIndex, WithoutAnAnnouncementAtThatPositionTheLanguageIsLeftOut) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages =
      "<Language name='de'><Announcement position='5'> <Speech id='zug'/> </Announcement>"
      "</Language>";
  Load(document);
  const support::CaptureOutput output;
  EXPECT_TRUE(Create("<row train='a'/>"));
  EXPECT_EQ(output.Out(), "select lang 1\n");
  EXPECT_EQ(output.Err(), "");
  EXPECT_FALSE(IsSaved("de0"));
}

TEST_F(AnnouncementIndex, LanguageWithoutAnnouncementsIsLeftOutAndTheNextIsMade) {
  AnnouncementDocument document;
  document.Languages =
      "<Language name='de'/><Language name='en' generalprefix='E'>"
      "<Announcement position='0'> </Announcement></Language>";
  Load(document);
  const support::CaptureOutput quiet;
  EXPECT_TRUE(Create("<row train='a'/>"));
  EXPECT_FALSE(IsSaved("de0"));
  EXPECT_EQ(Saved("en0"), "E ");
}

TEST_F(AnnouncementIndex, AnnouncementAtPositionOneThatIsFirstInTheListThrows) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages =
      "<Language name='de'><Announcement position='1'> <Speech id='zug'/> </Announcement>"
      "</Language>";
  Load(document);
  const support::CaptureOutput output;
  EXPECT_THROW(Create("<row train='a'/>"), std::out_of_range);
  EXPECT_EQ(output.Out(), "select lang 1\n");
}

// --- Phrases

TEST_F(AnnouncementPhrase, SoundIsPlayedFromTheSoundsDirectory) {
  LoadPhrases("<Speech id='gong' prefix='before' suffix='after'/>");
  EXPECT_EQ(TextOf("<row train='x'/>"), "P " + SoundTag("gong"))
      << "its own prefix and suffix do not count";
}

TEST_F(AnnouncementPhrase, SteadyIsPlayedFromTheLanguagesDirectory) {
  LoadPhrases("<Speech id='achtung' prefix='before' suffix='after'/>");
  EXPECT_EQ(TextOf("<row train='x'/>"), "P " + SteadyTag("de/achtung"));
}

TEST_F(AnnouncementPhrase, EachSteadyPrintsTheTextSoFar) {
  LoadPhrases("<Speech id='achtung'/><Speech id='zug'/><Speech id='achtung'/>");
  const support::CaptureOutput output;
  Create("<row train='x'/>");
  const std::string once = "P " + SteadyTag("de/achtung");
  EXPECT_EQ(output.Out(), "select lang 0\nprepare steady: " + once + "\nprepare steady: " + once +
                              "x" + SteadyTag("de/achtung") + "\n" + EngineLookup());
}

TEST_F(AnnouncementPhrase, ConfiguredPlayPrefixAndSuffixEncloseFiles) {
  station.Set("playprefix", "<");
  station.Set("playsuffix", ">");
  LoadPhrases("<Speech id='gong'/><Speech id='achtung'/>");
  EXPECT_EQ(TextOf("<row train='x'/>"),
            "P <" + station.Sub("sounds/gong") + "><" + station.Sub("steady/de/achtung") + ">");
}

TEST_F(AnnouncementPhrase, TempIsTheValueBetweenItsPrefixAndSuffix) {
  LoadPhrases("<Speech id='zug' prefix='(' suffix=')'/><Speech id='ziel'/>");
  EXPECT_EQ(TextOf("<row train='ICE' dest='Ulm'/>"), "P (ICE)Ulm");
}

TEST_F(AnnouncementPhrase, TempWithoutValueKeepsPrefixAndSuffix) {
  LoadPhrases("<Speech id='ziel' prefix='nach ' suffix='!'/>");
  EXPECT_EQ(TextOf("<row train='x'/>"), "P nach !");
}

TEST_F(AnnouncementPhrase, UnknownElementContributesNothing) {
  LoadPhrases("<Speech id='nothing' prefix='a' suffix='b'/><Speech id='zug'/>");
  EXPECT_EQ(TextOf("<row train='x'/>"), "P x");
}

TEST_F(AnnouncementPhrase, LanguageUnknownToTheReferencesHasNoElements) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages =
      "<Language name='fr' generalprefix='F'><Announcement position='0'>"
      "<Speech id='zug'/> </Announcement></Language>";
  Load(document);
  const support::CaptureOutput quiet;
  Create("<row train='x'/>");
  EXPECT_EQ(Saved("fr0"), "F ");
}

TEST_F(AnnouncementPhrase, ElementsOfTheSharedLanguageSpeakInEach) {
  AnnouncementDocument document;
  document.References =
      "<Language name='de'><Voice sex='male'>hans</Voice></Language>"
      "<Language name='all'><Element id='gong' trait='sound'/></Language>";
  document.Languages =
      "<Language name='de'><Announcement position='0'><Speech id='gong'/> "
      "</Announcement></Language>";
  Load(document);
  EXPECT_EQ(TextOf("<row train='x'/>"), " " + SoundTag("gong"));
}

TEST_F(AnnouncementPhrase, LastSpeechWithoutWhiteSpaceBehindItIsLost) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages =
      "<Language name='de'><Announcement position='0'><Speech id='zug'/>"
      "<Speech id='ziel'/></Announcement></Language>";
  Load(document);
  EXPECT_EQ(TextOf("<row train='a' dest='b'/>"), " a");
}

TEST_F(AnnouncementPhrase, EmptyConditionIsAlwaysSpoken) {
  LoadPhrases("<Condition name=''><Speech id='zug'/></Condition><Speech id='ziel'/>");
  EXPECT_EQ(TextOf("<row train='a' dest='b'/>"), "P ab");
}

TEST_F(AnnouncementPhrase, UnknownConditionIsNeverSpoken) {
  LoadPhrases("<Condition name='no such case'><Speech id='zug'/></Condition><Speech id='ziel'/>");
  EXPECT_EQ(TextOf("<row train='a' dest='b'/>"), "P b");
}

TEST_F(AnnouncementPhrase, ConditionIsDecidedForEachRow) {
  AnnouncementDocument document =
      AnnouncementDocument::WithPhrases("<Condition name='late'><Speech id='zug'/></Condition>");
  document.Languages.replace(document.Languages.find("position=\"0\""), 12,
                             "position=\"0\" positionMax=\"9\"");
  Load(document);
  const support::CaptureOutput quiet;
  Create("<row train='a' delay='0'/><row train='b' delay='5'/><row train='c'/>");
  EXPECT_EQ(Saved("de0"), "P ");
  EXPECT_EQ(Saved("de1"), "P b");
  EXPECT_EQ(Saved("de2"), "P ");
}

TEST_F(AnnouncementPhrase, LexiconOfTheLanguageRewritesTheValueOnly) {
  station.Write("lexidata/de/orte.lex", "Hbf=\"Hauptbahnhof\"\n");
  LoadPhrases("<Speech id='ziel' lexicon='orte.lex' prefix='Hbf ' suffix=' Hbf'/>");
  const support::CaptureOutput output;
  Create("<row train='x' dest='Ulm Hbf'/>");
  EXPECT_EQ(Saved("de0"), "P Hbf Ulm Hauptbahnhof Hbf");
  EXPECT_EQ(output.Out(), "select lang 0\n....************Ulm Hauptbahnhof\n" + EngineLookup());
}

TEST_F(AnnouncementPhrase, LexiconNameOfOneCharacterIsIgnored) {
  station.Write("lexidata/de/x", "Ulm=\"Neu-Ulm\"\n");
  LoadPhrases("<Speech id='ziel' lexicon='x'/>");
  const support::CaptureOutput output;
  Create("<row train='x' dest='Ulm'/>");
  EXPECT_EQ(Saved("de0"), "P Ulm");
  EXPECT_EQ(output.Out(), "select lang 0\n" + EngineLookup());
}

TEST_F(AnnouncementPhrase, LexiconNameOfTwoCharactersIsUsed) {
  station.Write("lexidata/de/xy", "Ulm=\"Neu-Ulm\"\n");
  LoadPhrases("<Speech id='ziel' lexicon='xy'/>");
  EXPECT_EQ(TextOf("<row train='x' dest='Ulm'/>"), "P Neu-Ulm");
}

TEST_F(AnnouncementPhrase, MissingLexiconLeavesTheValue) {
  LoadPhrases("<Speech id='ziel' lexicon='none.lex'/>");
  const support::CaptureOutput output;
  Create("<row train='x' dest='Ulm'/>");
  EXPECT_EQ(Saved("de0"), "P Ulm");
  EXPECT_EQ(output.Out(), "select lang 0\n" + EngineLookup()) << "no mask line";
  EXPECT_EQ(output.Err(), "Profil-Datei nicht vorhanden:" + station.Sub("lexidata/de/none.lex") +
                              "\nBackup-File nicht vorhanden\n");
}

TEST_F(AnnouncementPhrase, EscapedControlOfAnAttributeReachesTheEngine) {
  LoadPhrases("<Speech id='zug' prefix='\\e+'/>");
  EXPECT_EQ(TextOf("<row train='a\\eb'/>"),
            "P \x1b+a\x1b"
            "b");
}

// --- Which attribute speaks an element

TEST_F(AttributeOfElement, IsTheOneAssignedToIt) {
  Load({});
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId("zug"), "train");
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId("ziel"), "dest");
}

TEST_F(AttributeOfElement, OfTwoTheLaterWins) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("<Speech id='zug'/>");
  document.Format =
      "<RBLFormat minrows='1' maxrows='1'><Attribute name='old' assignto='zug'/>"
      "<Attribute name='new' assignto='zug'/></RBLFormat>";
  Load(document);
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId("zug"), "new");
  EXPECT_EQ(TextOf("<row old='1' new='2'/>"), "P 2");
}

TEST_F(AttributeOfElement, NoneGivesAnEmptyName) {
  Load({});
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId("gong"), "");
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId("Zug"), "");
  EXPECT_EQ(builder.GetRBLAttNameFromSpeechId(""), "");
}

// --- Lexica

class UseLexicon : public AnnouncementTest {
 protected:
  /// Applies a lexicon of the given rows.
  std::string Apply(const std::string& text, const std::string& rows) {
    station.Write("lexidata/test.lex", rows);
    const support::CaptureOutput output;
    const std::string result = builder.UseLexicon(text, "./lexidata/test.lex");
    printed = output.Out();
    EXPECT_EQ(output.Err(), "");
    return result;
  }

  std::string printed;
};

TEST_F(UseLexicon, ReplacesEveryOccurrence) {
  EXPECT_EQ(Apply("Hbf Hbf", "Hbf=\"Hauptbahnhof\"\n"), "Hauptbahnhof Hauptbahnhof");
  EXPECT_EQ(printed, "************.************Hauptbahnhof Hauptbahnhof\n");
}

TEST_F(UseLexicon, SecondEntryDoesNotTouchWhatTheFirstPutIn) {
  EXPECT_EQ(Apply("a", "a=\"b\"\nb=\"c\"\n"), "b");
  EXPECT_EQ(printed, "*b\n");
}

TEST_F(UseLexicon, ReplacementThatContainsItsWordIsNotReplacedAgain) {
  EXPECT_EQ(Apply("ab", "a=\"aa\"\n"), "aab");
  EXPECT_EQ(printed, "**.aab\n");
}

TEST_F(UseLexicon, MatchThatReachesIntoAReplacementIsLeft) {
  EXPECT_EQ(Apply("abc", "b=\"X\"\naX=\"1\"\nXc=\"2\"\nc=\"3\"\n"), "aX3");
  EXPECT_EQ(printed, ".**aX3\n");
}

TEST_F(UseLexicon, ProtectedMatchDoesNotEndTheSearch) {
  EXPECT_EQ(Apply("x a", "x=\"a\"\na=\"b\"\n"), "a b");
}

TEST_F(UseLexicon, TakesEntriesInTheirOrder) {
  EXPECT_EQ(Apply("ICE", "IC=\"1\"\nICE=\"2\"\n"), "1E");
  EXPECT_EQ(Apply("ICE", "ICE=\"2\"\nIC=\"1\"\n"), "2");
}

TEST_F(UseLexicon, ComparesBytes) {
  EXPECT_EQ(Apply("hbf HBF Hbf Zürich", "Hbf=\"x\"\nü=\"ue\"\n"), "hbf HBF x Zuerich");
}

TEST_F(UseLexicon, SearchGoesOnOneByteAfterADeletion) {
  EXPECT_EQ(Apply("aaa", "a=\"\"\n"), "a");
  EXPECT_EQ(printed, ".a\n");
}

TEST_F(UseLexicon, WithoutEntriesPrintsTheTextAsItIs) {
  EXPECT_EQ(Apply("ab", "# nothing\n"), "ab");
  EXPECT_EQ(printed, "..ab\n");
  EXPECT_EQ(Apply("", "a=\"b\"\n"), "");
  EXPECT_EQ(printed, "\n");
}

TEST_F(UseLexicon, MissingFileLeavesTheTextWithoutAMaskLine) {
  const support::CaptureOutput output;
  EXPECT_EQ(builder.UseLexicon("Hbf", "./lexidata/none.lex"), "Hbf");
  EXPECT_EQ(output.Out(), "");
  EXPECT_EQ(output.Err(),
            "Profil-Datei nicht vorhanden:" + station.Sub("lexidata/none.lex") + "\n");
}

// --- Cases, through the text of a row

class AnnouncementCases : public AnnouncementTest {
 protected:
  /// Whether the case "test" holds for a row whose attribute "train" is `value`.
  bool Holds(const std::string& cases, const std::string& value) {
    AnnouncementDocument document =
        AnnouncementDocument::WithPhrases("<Condition name='test'><Speech id='gong'/></Condition>");
    document.Cases = cases;
    station.SetDocument(document);
    CkaSpeechbuilder fresh;
    const support::CaptureOutput output;
    EXPECT_TRUE(fresh.Initialize(Station::kDocument)) << cases;
    std::string block = "<rbl><row train='" + value + "'/></rbl>";
    EXPECT_TRUE(fresh.GenerateNewSpeeches(block)) << value;
    return Saved("de0") != "P ";
  }

  static std::string Substr(const std::string& type, const std::string& op,
                            const std::string& value, const std::string& begin,
                            const std::string& end) {
    return "<Case id='test' substr='train' type='" + type + "' operator='" + op + "' value='" +
           value + "' begin='" + begin + "' end='" + end + "'/>";
  }

  static std::string Strlen(const std::string& op, const std::string& value) {
    return "<Case id='test' strlen='train' operator='" + op + "' value='" + value + "'/>";
  }

  /// The case "test" combines "yes", which holds, and "no", which does not.
  static std::string Combined(const std::string& op, const std::vector<std::string>& refs) {
    std::string text =
        "<Case id='yes' strlen='train' operator='gt' value='0'/>"
        "<Case id='no' strlen='train' operator='eq' value='0'/><Case id='test'" +
        (op.empty() ? "" : " operator='" + op + "'") + ">";
    for (const std::string& ref : refs)
      text += "<Case ref='" + ref + "'/>";
    return text + "</Case>";
  }
};

TEST_F(AnnouncementCases, PartOfAValueIsComparedAsText) {
  EXPECT_TRUE(Holds(Substr("string", "eq", "ICE", "0", "2"), "ICE 123"));
  EXPECT_TRUE(Holds(Substr("string", "eq", "123", "4", "-1"), "ICE 123"));
  EXPECT_TRUE(Holds(Substr("string", "eq", "3", "6", "6"), "ICE 123"));
  EXPECT_TRUE(Holds(Substr("string", "ne", "RE", "0", "2"), "ICE 123"));
  EXPECT_FALSE(Holds(Substr("string", "ne", "ICE", "0", "2"), "ICE 123"));
}

TEST_F(AnnouncementCases, PartBeyondTheValueDoesNotHold) {
  EXPECT_FALSE(Holds(Substr("string", "eq", "ICE", "0", "7"), "ICE 123"));
  EXPECT_FALSE(Holds(Substr("string", "ne", "x", "0", "7"), "ICE 123"));
  EXPECT_FALSE(Holds(Substr("string", "ne", "x", "3", "2"), "ICE 123"));
}

TEST_F(AnnouncementCases, HasLooksForAnySingleCharacter) {
  EXPECT_FALSE(Holds(Substr("string", "has", "xyz", "0", "-1"), "abc"));
  EXPECT_TRUE(Holds(Substr("string", "has", "xyz", "0", "-1"), "axc"));
  EXPECT_TRUE(Holds(Substr("string", "hasnot", "xyz", "0", "-1"), "abc"));
  EXPECT_FALSE(Holds(Substr("string", "hasnot", "xyz", "0", "-1"), "axc"));
  EXPECT_FALSE(Holds(Substr("string", "has", "", "0", "-1"), "abc"));
  EXPECT_TRUE(Holds(Substr("string", "hasnot", "", "0", "-1"), "abc"));
}

TEST_F(AnnouncementCases, TextsHaveNoOrder) {
  for (const char* op : {"lt", "gt", "le", "ge"}) {
    EXPECT_FALSE(Holds(Substr("string", op, "b", "0", "-1"), "a")) << op;
    EXPECT_FALSE(Holds(Substr("string", op, "b", "0", "-1"), "b")) << op;
    EXPECT_FALSE(Holds(Substr("string", op, "b", "0", "-1"), "c")) << op;
  }
}

TEST_F(AnnouncementCases, NumbersEndAtTheFirstNonDigit) {
  EXPECT_TRUE(Holds(Substr("number", "eq", "12", "0", "-1"), "12a"));
  EXPECT_TRUE(Holds(Substr("number", "lt", "12", "0", "-1"), " +9"));
  EXPECT_TRUE(Holds(Substr("number", "gt", "-3", "0", "-1"), "none"));
  EXPECT_FALSE(Holds(Substr("number", "ge", "13", "0", "-1"), "12"));
  EXPECT_TRUE(Holds(Substr("number", "le", "12", "0", "-1"), "12"));
  EXPECT_TRUE(Holds(Substr("number", "ne", "12", "0", "-1"), "13"));
}

TEST_F(AnnouncementCases, LengthIsComparedAndPrinted) {
  AnnouncementDocument document =
      AnnouncementDocument::WithPhrases("<Condition name='test'><Speech id='gong'/></Condition>");
  document.Cases = Strlen("gt", "3");
  Load(document);
  const support::CaptureOutput output;
  Create("<row train='Zürs'/>");
  EXPECT_EQ(Saved("de0"), "P " + SoundTag("gong"));
  EXPECT_EQ(output.Out(), "Platform case : 5 > 3\nselect lang 0\n" + EngineLookup());
}

TEST_F(AnnouncementCases, LengthKnowsEveryComparison) {
  EXPECT_TRUE(Holds(Strlen("lt", "4"), "abc"));
  EXPECT_TRUE(Holds(Strlen("le", "3"), "abc"));
  EXPECT_TRUE(Holds(Strlen("ge", "3"), "abc"));
  EXPECT_TRUE(Holds(Strlen("eq", "3 bytes"), "abc"));
  EXPECT_FALSE(Holds(Strlen("ne", "3"), "abc"));
}

TEST_F(AnnouncementCases, CombinationsOfCases) {
  EXPECT_TRUE(Holds(Combined("AND", {"yes", "yes"}), "x"));
  EXPECT_FALSE(Holds(Combined("AND", {"yes", "no"}), "x"));
  EXPECT_TRUE(Holds(Combined("OR", {"no", "yes"}), "x"));
  EXPECT_FALSE(Holds(Combined("OR", {"no", "no"}), "x"));
  EXPECT_TRUE(Holds(Combined("NOR", {"no", "no"}), "x"));
  EXPECT_FALSE(Holds(Combined("NOR", {"no", "yes"}), "x"));
  EXPECT_TRUE(Holds(Combined("NAND", {"no", "yes"}), "x"));
  EXPECT_FALSE(Holds(Combined("NAND", {"yes", "yes"}), "x"));
}

TEST_F(AnnouncementCases, NotOfOneCaseNegates) {
  EXPECT_TRUE(Holds(Combined("NOT", {"no"}), "x"));
  EXPECT_FALSE(Holds(Combined("NOT", {"yes"}), "x"));
}

TEST_F(AnnouncementCases, CombinationWithoutOperatorIsAnAnd) {
  EXPECT_TRUE(Holds(Combined("", {"yes"}), "x"));
  EXPECT_FALSE(Holds(Combined("", {"yes", "no"}), "x"));
}

TEST_F(AnnouncementCases, CombinationOfNothingOrWithAnUnknownOperatorDoesNotHold) {
  EXPECT_FALSE(Holds(Combined("NOR", {}), "x"));
  EXPECT_FALSE(Holds(Combined("XOR", {"yes"}), "x"));
}

TEST_F(AnnouncementCases, BeginOutsideTheValueThrows) {
  for (const auto& [begin, end] : {std::pair("5", "-1"), std::pair("-1", "0")}) {
    AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
    document.Cases = Substr("string", "eq", "x", begin, end);
    station.SetDocument(document);
    CkaSpeechbuilder fresh;
    const support::CaptureOutput quiet;
    ASSERT_TRUE(fresh.Initialize(Station::kDocument));
    std::string block = "<rbl><row train='abcd'/></rbl>";
    EXPECT_THROW(fresh.GenerateNewSpeeches(block), std::out_of_range) << begin;
    EXPECT_THAT(shell.Commands(), IsEmpty());
  }
}

TEST_F(AnnouncementCases, OpenPartMayBeginAtTheEndOfTheValue) {
  EXPECT_TRUE(Holds(Substr("string", "eq", "", "4", "-1"), "abcd"));
}

// --- Composing without doing

TEST_F(ComposeText, ChangesNothing) {
  Load({});
  const auto content = Parse("<row train='ICE 1' delay='5'/>");
  CkaCaseCheck cases;
  cases.Initialize(&builder.CaseData, content.get());
  cases.CheckForRow(0);
  const support::CaptureOutput output;
  std::vector<kaReport> reports;
  builder.ComposeText(*content, cases, 0, 0, reports);
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_TRUE(std::filesystem::is_empty(station.Sub("store")));
  EXPECT_TRUE(std::filesystem::is_empty(station.Sub("play")));
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(ComposeText, GivesTheTextsAndReportsThatCreateAnnouncementsMakesOfThem) {
  station.Write("lexidata/de/kat.lex", "ICE=\"I C E\"\n");
  LoadPhrases(
      "<Speech id='achtung'/><Speech id='zug' lexicon='kat.lex'/>"
      "<Speech id='ziel' lexicon='none.lex'/>");
  const auto content = Parse("<row train='ICE 1' dest='Ulm'/>");
  CkaCaseCheck cases;
  cases.Initialize(&builder.CaseData, content.get());
  cases.CheckForRow(0);
  std::vector<kaReport> reports;
  const auto composed = builder.ComposeText(*content, cases, 0, 0, reports);
  EXPECT_TRUE(composed.bExists);
  EXPECT_EQ(composed.Language, "de");

  const support::CaptureOutput output;
  builder.CreateAnnouncements(*content, 1);
  EXPECT_EQ(composed.Text, Saved("de0"));
  std::string out;
  std::string err;
  for (const kaReport& report : reports) {
    (report.Stream == kaStream::Out ? out : err) += report.Text;
  }
  EXPECT_EQ(out + EngineLookup(), output.Out());
  EXPECT_EQ(err + "Backup-File nicht vorhanden\n", output.Err());
}

TEST_F(ComposeText, AppendsItsReports) {
  LoadPhrases("");
  const auto content = Parse("<row train='x'/>");
  CkaCaseCheck cases;
  std::vector<kaReport> reports = {{kaStream::Err, "before\n"}};
  builder.ComposeText(*content, cases, 0, 0, reports);
  EXPECT_THAT(reports, ElementsAre(kaReport{kaStream::Err, "before\n"},
                                   kaReport{kaStream::Out, "select lang 0\n"}));
}

TEST_F(ComposeText, TellsWhenTheLanguageHasNoAnnouncementForTheRow) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages = "<Language name='de'/>";
  Load(document);
  const auto content = Parse("<row train='x'/>");
  std::vector<kaReport> reports;
  EXPECT_FALSE(builder.ComposeText(*content, CkaCaseCheck(), 0, 0, reports).bExists);
  EXPECT_THAT(reports, ElementsAre(kaReport{kaStream::Out, "select lang 1\n"}));
}

TEST_F(ComposeText, KeepsWhatCameBeforeAnException) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages = "<Language name='de'><Announcement position='1'> </Announcement></Language>";
  Load(document);
  const auto content = Parse("<row train='x'/>");
  std::vector<kaReport> reports;
  EXPECT_THROW(builder.ComposeText(*content, CkaCaseCheck(), 0, 0, reports), std::out_of_range);
  EXPECT_THAT(reports, ElementsAre(kaReport{kaStream::Out, "select lang 1\n"}));
  const support::CaptureOutput output;
  EXPECT_THROW(builder.CreateAnnouncements(*content, 1), std::out_of_range);
  EXPECT_EQ(output.Out(), "select lang 1\n") << "CreateAnnouncements has printed it by then";
}

// --- What a composition tells about itself

/// The trace of the German text of a row. The text itself is that of a composition without one.
kaCompositionTrace AnnouncementTest::TraceOf(const std::string& row) {
  const auto content = Parse(row);
  CkaCaseCheck cases;
  cases.Initialize(&builder.CaseData, content.get());
  const support::CaptureOutput quiet;
  cases.CheckForRow(0);
  std::vector<kaReport> plainReports;
  std::vector<kaReport> reports;
  kaCompositionTrace trace;
  trace.Phrases.resize(7);
  const auto plain = builder.ComposeText(*content, cases, 0, 0, plainReports);
  const auto traced = builder.ComposeText(*content, cases, 0, 0, reports, &trace);
  EXPECT_EQ(traced.bExists, plain.bExists);
  EXPECT_EQ(traced.Text, plain.Text);
  EXPECT_EQ(reports, plainReports);
  std::string joined = trace.bExists ? trace.GeneralPrefix + " " : "";
  for (const kaPhraseTrace& phrase : trace.Phrases)
    joined += phrase.Piece;
  EXPECT_EQ(joined, plain.Text);
  return trace;
}

TEST_F(ComposeText, TraceHasEveryPhraseWithItsPiece) {
  LoadPhrases(
      "<Speech id='gong'/><Condition name='late'><Speech id='achtung'/></Condition>"
      "<Speech id='zug' prefix='Zug ' suffix='.'/><Speech id='nichts'/>");
  const kaCompositionTrace trace = TraceOf("<row train='ICE 1'/>");
  EXPECT_EQ(trace.Index, 0);
  EXPECT_TRUE(trace.bExists);
  EXPECT_EQ(trace.GeneralPrefix, "P");
  ASSERT_EQ(trace.Phrases.size(), 4U);
  EXPECT_EQ(trace.Phrases[0].Trait, CkaSpeechFormat::_KASsound);
  EXPECT_EQ(trace.Phrases[0].Piece, SoundTag("gong"));
  EXPECT_FALSE(trace.Phrases[1].bSpoken) << "its case does not hold";
  EXPECT_EQ(trace.Phrases[1].Piece, "");
  EXPECT_EQ(trace.Phrases[2].Number, 2U);
  EXPECT_EQ(trace.Phrases[2].Trait, CkaSpeechFormat::_KAStemp);
  EXPECT_EQ(trace.Phrases[2].Attribute, "train");
  EXPECT_EQ(trace.Phrases[2].Value, "ICE 1");
  EXPECT_EQ(trace.Phrases[2].LexiconPath, "");
  EXPECT_EQ(trace.Phrases[2].Piece, "Zug ICE 1.");
  EXPECT_TRUE(trace.Phrases[3].bSpoken);
  EXPECT_EQ(trace.Phrases[3].Trait, CkaSpeechFormat::_KASerror);
}

TEST_F(ComposeText, TraceHasAPhraseWhoseCaseHolds) {
  LoadPhrases("<Condition name='late'><Speech id='gong'/></Condition>");
  const kaCompositionTrace trace = TraceOf("<row train='x' delay='5'/>");
  ASSERT_EQ(trace.Phrases.size(), 1U);
  EXPECT_TRUE(trace.Phrases[0].bSpoken);
  EXPECT_EQ(trace.Phrases[0].Piece, SoundTag("gong"));
}

TEST_F(ComposeText, TraceTellsWhatTheLexiconReplaced) {
  station.Write("lexidata/de/kat.lex", "RE=\"R E\"\nICE=\"I C E\"\n");
  LoadPhrases(
      "<Speech id='zug' lexicon='kat.lex'/><Speech id='ziel' lexicon='none.lex'/>"
      "<Speech id='ziel' lexicon='x'/>");
  const kaCompositionTrace trace = TraceOf("<row train='ein ICE' dest='Ulm'/>");
  ASSERT_EQ(trace.Phrases.size(), 3U);
  EXPECT_EQ(trace.Phrases[0].LexiconPath, station.Sub("lexidata/de/kat.lex"));
  EXPECT_TRUE(trace.Phrases[0].bLexiconLoaded);
  EXPECT_THAT(trace.Phrases[0].Replacements, ElementsAre(kaReplacement{1, 4, "ICE", "I C E"}));
  EXPECT_EQ(trace.Phrases[0].Piece, "ein I C E");
  EXPECT_EQ(trace.Phrases[1].LexiconPath, station.Sub("lexidata/de/none.lex"));
  EXPECT_FALSE(trace.Phrases[1].bLexiconLoaded);
  EXPECT_EQ(trace.Phrases[1].Piece, "Ulm");
  EXPECT_EQ(trace.Phrases[2].LexiconPath, "") << "a name of one character switches it off";
}

TEST_F(ComposeText, TraceTellsWhenTheLanguageHasNoAnnouncementForTheRow) {
  AnnouncementDocument document = AnnouncementDocument::WithPhrases("");
  document.Languages = "<Language name='de' generalprefix='P'/>";
  Load(document);
  const kaCompositionTrace trace = TraceOf("<row train='x'/>");
  EXPECT_FALSE(trace.bExists);
  EXPECT_EQ(trace.Index, 1);
  EXPECT_THAT(trace.Phrases, IsEmpty());
}

}  // namespace
