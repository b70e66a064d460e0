#include "kaSpeechGen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "output_of.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SpeechGen : public testing::Test {
 protected:
  /// Reads a document whose Assembly has this content.
  void Read(const std::string& assembly) {
    ASSERT_TRUE(Gen.Initialize("<doc><Assembly>" + assembly + "</Assembly></doc>", false, true));
    bool result = false;
    EXPECT_EQ(OutputOf([&] { result = Gen.ReadSpeechBuildSeq(); }), Nothing());
    EXPECT_TRUE(result);
  }
  /// Reads one language with these announcements.
  void ReadAnnouncements(const std::string& announcements) {
    Read("<Language name='de'>" + announcements + "</Language>");
  }
  /// Reads one announcement and gives its phrases as "id" or "id?condition".
  std::vector<std::string> PhrasesOf(const std::string& content) {
    ReadAnnouncements("<Announcement>" + content + "</Announcement>");
    std::vector<std::string> phrases;
    for (const auto& phrase : Gen.AccessAnnouncement(0, 0).Phrases) {
      const bool conditional = !phrase.Condition.empty();
      phrases.push_back(phrase.RefId + (conditional ? "?" + phrase.Condition : ""));
    }
    return phrases;
  }

  CkaSpeechGen Gen;
};

}  // namespace

TEST_F(SpeechGen, StartsEmpty) {
  EXPECT_EQ(Gen.GetClassMsgID(), 10500U);
  EXPECT_EQ(Gen.GetLanguageCount(), 0);
}

TEST_F(SpeechGen, AssemblyWithoutLanguagesIsRead) {
  Read("<RBLFormat/>");
  EXPECT_EQ(Gen.GetLanguageCount(), 0);
}

TEST_F(SpeechGen, LanguagesAreReadInDocumentOrder) {
  Read(
      "<Language name='de' generalprefix='\\voice(de)'/><Case/><Language/>"
      "<x><Language name='deep'/></x><Language name='en'/>");
  ASSERT_EQ(Gen.GetLanguageCount(), 3);
  EXPECT_EQ(Gen.GetLanguageName(0), "de");
  EXPECT_EQ(Gen.GetGeneralPrefix(0), "\\voice(de)");
  EXPECT_EQ(Gen.GetLanguageName(1), "");
  EXPECT_EQ(Gen.GetGeneralPrefix(1), "");
  EXPECT_EQ(Gen.GetLanguageName(2), "en");
  EXPECT_EQ(Gen.GetAnnouncementCount(2), 0);
}

TEST_F(SpeechGen, PreferredSexKnowsFourSpellings) {
  Read(
      "<Language prefer='male'/><Language prefer='Male'/><Language prefer='female'/>"
      "<Language prefer='Female'/><Language prefer='MALE'/><Language prefer=''/><Language/>"
      "<Language prefer=' male'/>");
  std::vector<int> preferred;
  for (const auto& language : Gen.Languages)
    preferred.push_back(language.PrefSex);
  EXPECT_THAT(preferred, ElementsAre(1, 1, 2, 2, 3, 3, 3, 3));
}

TEST_F(SpeechGen, PreferInCapitalsIsNoPreference) {
  Read("<Language prefer='MALE'/>");
  EXPECT_EQ(Gen.Languages.at(0).PrefSex, 3);
}

TEST_F(SpeechGen, MissingOrZeroPositionMaxIsThePosition) {
  ReadAnnouncements(
      "<Announcement position='5'/><Announcement position='5' positionMax='0'/>"
      "<Announcement position='5' positionMax='x'/>"
      "<Announcement position='5' positionMax='3'/><Announcement positionMax='9'/>"
      "<Announcement position=' -2x'/>");
  std::vector<std::pair<int, int>> positions;
  for (int i = 0; i < Gen.GetAnnouncementCount(0); ++i) {
    const auto announcement = Gen.AccessAnnouncement(0, i);
    positions.emplace_back(announcement.Position, announcement.PositionMax);
  }
  EXPECT_THAT(positions, ElementsAre(std::pair(5, 5), std::pair(5, 5), std::pair(5, 5),
                                     std::pair(5, 3), std::pair(0, 9), std::pair(-2, -2)));
}

TEST_F(SpeechGen, PhraseCarriesItsAttributes) {
  ReadAnnouncements(
      "<Announcement><Speech id='zug' prefix='Der ' suffix=' nach' lexicon='lex'/>"
      "<Speech/> </Announcement>");
  const auto phrases = Gen.AccessAnnouncement(0, 0).Phrases;
  ASSERT_EQ(phrases.size(), 2U);
  EXPECT_EQ(phrases[0].RefId, "zug");
  EXPECT_EQ(phrases[0].Prefix, "Der ");
  EXPECT_EQ(phrases[0].Suffix, " nach");
  EXPECT_EQ(phrases[0].Lexicon, "lex");
  EXPECT_EQ(phrases[0].Condition, "");
  EXPECT_EQ(phrases[1].RefId + phrases[1].Prefix + phrases[1].Suffix + phrases[1].Lexicon, "");
}

TEST_F(SpeechGen, PhraseOfAConditionStartsAfresh) {
  ReadAnnouncements(
      "<Announcement><Condition name='c'><Speech id='a' prefix='p' suffix='s' "
      "lexicon='l'/><Speech id='b'/></Condition> </Announcement>");
  const auto phrases = Gen.AccessAnnouncement(0, 0).Phrases;
  ASSERT_EQ(phrases.size(), 2U);
  EXPECT_EQ(phrases[0].Prefix + phrases[0].Suffix + phrases[0].Lexicon, "psl");
  EXPECT_EQ(phrases[1].Prefix + phrases[1].Suffix + phrases[1].Lexicon, "");
}

TEST_F(SpeechGen, EscapesReachThePhrase) {
  ReadAnnouncements("<Announcement><Speech id='a' prefix='\\e[1' suffix='\\e'/> </Announcement>");
  const auto phrase = Gen.AccessAnnouncement(0, 0).Phrases.at(0);
  EXPECT_EQ(phrase.Prefix, "\x1b[1");
  EXPECT_EQ(phrase.Suffix, "\x1b");
}

TEST_F(SpeechGen, SpeechAsTheLastChildIsLost) {
  EXPECT_THAT(PhrasesOf("<Speech id='a'/><Speech id='b'/>"), ElementsAre("a"));
}

TEST_F(SpeechGen, WhiteSpaceAfterTheLastSpeechSavesIt) {
  EXPECT_THAT(PhrasesOf("<Speech id='a'/><Speech id='b'/> "), ElementsAre("a", "b"));
}

TEST_F(SpeechGen, CommentAfterTheLastSpeechSavesIt) {
  EXPECT_THAT(PhrasesOf("<Speech id='a'/><!-- end -->"), ElementsAre("a"));
}

TEST_F(SpeechGen, ConditionAsTheLastChildIsLost) {
  EXPECT_THAT(PhrasesOf("<Speech id='a'/><Condition name='c'><Speech id='b'/></Condition>"),
              ElementsAre("a"));
}

TEST_F(SpeechGen, OnlyChildIsLost) {
  EXPECT_THAT(PhrasesOf("<Speech id='a'/>"), IsEmpty());
}

TEST_F(SpeechGen, AnnouncementWithoutChildrenHasNoPhrases) {
  EXPECT_THAT(PhrasesOf(""), IsEmpty());
}

TEST_F(SpeechGen, ConditionalPhrasesStandInTheirPlace) {
  EXPECT_THAT(PhrasesOf("\n<Speech id='a'/>\n<Condition name='late'>\n<Speech id='b'/>\n"
                        "<Speech id='c'/>\n</Condition>\n<Speech id='d'/>\n"),
              ElementsAre("a", "b?late", "c?late", "d"));
}

TEST_F(SpeechGen, LastSpeechOfAConditionCounts) {
  EXPECT_THAT(PhrasesOf("<Condition name='c'><Speech id='a'/><Speech id='b'/></Condition> "),
              ElementsAre("a?c", "b?c"));
}

TEST_F(SpeechGen, ConditionWithoutANameIsNone) {
  EXPECT_THAT(PhrasesOf("<Condition><Speech id='a'/></Condition> "), ElementsAre("a"));
}

TEST_F(SpeechGen, OtherChildrenAreSkipped) {
  EXPECT_THAT(PhrasesOf("text<x><Speech id='a'/></x><!-- c --><speech id='b'/><![CDATA[d]]>"
                        "<Condition name='c'><x><Speech id='e'/></x><Condition name='d'>"
                        "<Speech id='f'/></Condition></Condition><Speech id='g'/>\n"),
              ElementsAre("g"));
}

TEST_F(SpeechGen, AnnouncementExistsByItsExactPositionOnly) {
  ReadAnnouncements("<Announcement position='1' positionMax='3'/><Announcement position='7'/>");
  EXPECT_TRUE(Gen.DoesAnnouncementExists(0, 1));
  EXPECT_TRUE(Gen.DoesAnnouncementExists(0, 7));
  for (const int position : {0, 2, 3, 4, -1}) {
    EXPECT_FALSE(Gen.DoesAnnouncementExists(0, position)) << position;
  }
}

TEST_F(SpeechGen, AnnouncementSpanningATwoDoesNotExistAtTwo) {
  ReadAnnouncements("<Announcement position='1' positionMax='3'/>");
  EXPECT_FALSE(Gen.DoesAnnouncementExists(0, 2));
}

// The index is a truth value: whether the announcement that decides has another position than 0.
TEST_F(SpeechGen, AnnouncementIndexIsATruthValue) {
  const struct {
    const char* Announcements;
    int Position;
    bool Index;
  } cases[] = {
      {"<Announcement position='1' positionMax='3'/><Announcement position='4' positionMax='9'/>",
       2, true},
      {"<Announcement position='1' positionMax='3'/><Announcement position='4' positionMax='9'/>",
       10, true},
      {"<Announcement position='0' positionMax='3'/>", 2, false},
      {"<Announcement position='0' positionMax='3'/>", 3, false},
      {"<Announcement position='0' positionMax='3'/>", 4, true},
      {"<Announcement position='0' positionMax='3'/><Announcement position='4'/>", 4, true},
      {"<Announcement position='0'/><Announcement position='1'/>", 0, false},
      {"<Announcement position='0'/><Announcement position='1'/>", 1, true},
      {"<Announcement position='0'/><Announcement position='1'/>", 2, true},
      {"<Announcement position='0'/>", 1, true},
      {"<Announcement position='1'/><Announcement position='0'/>", 0, true},
      {"<Announcement position='-5' positionMax='-1'/><Announcement position='0'/>", 0, false},
      {"<Announcement position='2' positionMax='1'/><Announcement position='0' positionMax='9'/>",
       2, true},
      {"<Announcement position='3' positionMax='1'/><Announcement position='0' positionMax='9'/>",
       2, false},
      {"", 0, true},
  };
  for (const auto& [announcements, position, index] : cases) {
    CkaSpeechGen gen;
    gen.Initialize(
        "<doc><Assembly><Language>" + std::string(announcements) + "</Language></Assembly></doc>",
        false, true);
    ASSERT_TRUE(gen.ReadSpeechBuildSeq());
    EXPECT_EQ(gen.GetAnnouncementIndex(0, position), index) << announcements << " at " << position;
  }
}

TEST_F(SpeechGen, FindsTheFirstAnnouncementThatFits) {
  ReadAnnouncements(
      "<Announcement position='0'/><Announcement position='4' positionMax='6'/>"
      "<Announcement position='5'/>");
  EXPECT_EQ(Gen.FindAnnouncement(0, 0), 0);
  EXPECT_EQ(Gen.FindAnnouncement(0, 1), 1);
  EXPECT_EQ(Gen.FindAnnouncement(0, 5), 1);
  EXPECT_EQ(Gen.FindAnnouncement(0, 7), -1);
}

TEST_F(SpeechGen, AnyLowerPositionMatchesTheFirstAnnouncement) {
  ReadAnnouncements("<Announcement position='4' positionMax='9'/><Announcement position='0'/>");
  for (const int position : {-100, 0, 3, 9}) {
    EXPECT_TRUE(Gen.GetAnnouncementIndex(0, position)) << position;
  }
}

TEST_F(SpeechGen, AccessAnnouncementGivesACopyInDocumentOrder) {
  ReadAnnouncements("<Announcement position='9'/><Announcement position='1'/>");
  auto announcement = Gen.AccessAnnouncement(0, 0);
  EXPECT_EQ(announcement.Position, 9);
  announcement.Position = 7;
  EXPECT_EQ(Gen.AccessAnnouncement(0, 0).Position, 9);
  EXPECT_EQ(Gen.AccessAnnouncement(0, 1).Position, 1);
}

TEST_F(SpeechGen, IndexOutsideTheListsThrows) {
  ReadAnnouncements("<Announcement/>");
  for (const int index : {-1, 1, 1000}) {
    EXPECT_THROW(Gen.GetLanguageName(index), std::out_of_range);
    EXPECT_THROW(Gen.GetGeneralPrefix(index), std::out_of_range);
    EXPECT_THROW(Gen.GetAnnouncementCount(index), std::out_of_range);
    EXPECT_THROW(Gen.DoesAnnouncementExists(index, 0), std::out_of_range);
    EXPECT_THROW(Gen.FindAnnouncement(index, 0), std::out_of_range);
    EXPECT_THROW(Gen.GetAnnouncementIndex(index, 0), std::out_of_range);
    EXPECT_THROW(Gen.AccessAnnouncement(index, 0), std::out_of_range);
    EXPECT_THROW(Gen.AccessAnnouncement(0, index), std::out_of_range);
  }
}

TEST_F(SpeechGen, ReadingTwiceAppendsAgain) {
  Read("<Language name='de'/><Language name='en'/>");
  ASSERT_TRUE(Gen.ReadSpeechBuildSeq());
  EXPECT_EQ(Gen.GetLanguageCount(), 4);
  EXPECT_EQ(Gen.GetLanguageName(2), "de");
}

TEST_F(SpeechGen, OnlyTheFirstAssemblyIsRead) {
  ASSERT_TRUE(
      Gen.Initialize("<doc><Assembly><Language name='de'/></Assembly>"
                     "<Assembly><Language name='en'/></Assembly></doc>",
                     false, true));
  ASSERT_TRUE(Gen.ReadSpeechBuildSeq());
  ASSERT_EQ(Gen.GetLanguageCount(), 1);
  EXPECT_EQ(Gen.GetLanguageName(0), "de");
}

TEST_F(SpeechGen, MissingAssemblyThrows) {
  ASSERT_TRUE(Gen.Initialize("<doc><Language/></doc>", false, true));
  EXPECT_THROW(Gen.ReadSpeechBuildSeq(), std::out_of_range);
}

TEST_F(SpeechGen, UninitialisedReaderSaysSoWithoutALineEnd) {
  EXPECT_EQ(OutputOf([&] { Gen.SetMainNodes(); }), OnlyErr("Erst XML initialisieren"));
  EXPECT_EQ(Gen.pRootNode, nullptr);
  EXPECT_EQ(Gen.pAssemNode, nullptr);
}

TEST_F(SpeechGen, ReloadThatFailedReadsAsUninitialised) {
  Read("<Language/>");
  ASSERT_FALSE(Gen.Initialize("/no-such-dir/x", false, false));
  EXPECT_TRUE(Gen.IsInitialized());
  EXPECT_EQ(OutputOf([&] { Gen.SetMainNodes(); }), OnlyErr("Erst XML initialisieren"));
}
