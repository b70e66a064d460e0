// How the demo station speaks what its data blocks carry: the corpus in words/.

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "common/document.h"
#include "demo_station.h"
#include "words_corpus.h"

namespace toolstest {

namespace {

struct CorpusFigures {
  std::string Language;
  std::size_t AtLeast;
  std::size_t WrongBefore;
};

std::string TimeText(int number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

class PronunciationCorpus : public ::testing::TestWithParam<CorpusFigures> {
 protected:
  const std::string& Language() const { return GetParam().Language; }

  const std::vector<CorpusPhrase> phrases = Corpus(GetParam().Language);
};

TEST_P(PronunciationCorpus, EveryPhraseIsSpokenRight) {
  std::size_t right = 0;
  for (const CorpusPhrase& phrase : phrases) {
    const std::string said = phrase.Said(Language());
    const std::string phonemes = ThePhonemes().Of(said, VoiceOf(Language()));
    const bool isRight = tools::WithoutPauses(phonemes) == tools::WithoutPauses(phrase.Phonemes);
    EXPECT_TRUE(isRight) << "line " << phrase.Line << ": \"" << phrase.Text << "\" is said \""
                         << said << "\" [" << phonemes << "], right is \"" << phrase.Wording
                         << "\" [" << phrase.Phonemes << "]";
    if (isRight) ++right;
  }
  EXPECT_GE(phrases.size(), GetParam().AtLeast);
  EXPECT_EQ(right, phrases.size());
  std::cout << Language() << ": " << right << " of " << phrases.size() << " phrases are right; "
            << phrases.size() - GetParam().WrongBefore << " were before\n";
}

TEST_P(PronunciationCorpus, PhonemesAreThoseOfTheWording) {
  for (const CorpusPhrase& phrase : phrases) {
    EXPECT_EQ(ThePhonemes().Of(phrase.Wording, VoiceOf(Language())), phrase.Phonemes)
        << "line " << phrase.Line << ": " << phrase.Wording;
  }
}

TEST_P(PronunciationCorpus, WhatWasWrongBeforeIsKnown) {
  std::size_t wrong = 0;
  for (const CorpusPhrase& phrase : phrases) {
    if (phrase.WasRight()) continue;
    ++wrong;
    EXPECT_NE(tools::WithoutPauses(phrase.Before), tools::WithoutPauses(phrase.Phonemes))
        << "line " << phrase.Line;
  }
  EXPECT_EQ(wrong, GetParam().WrongBefore);
}

TEST_P(PronunciationCorpus, NoPhraseStandsTwice) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const CorpusPhrase& phrase : phrases) {
    EXPECT_TRUE(seen.insert({phrase.Lexicon, phrase.Text}).second) << "line " << phrase.Line;
  }
}

TEST_P(PronunciationCorpus, LexicaAreThoseOfTheDocument) {
  const tools::Document document(Project() / "announcements" / "station.xml");
  std::set<std::string> used;
  for (const tools::Element& element : document.Elements()) {
    if (element.Name != "Speech") continue;
    const tools::Element* owner = &element;
    while (owner->Name != "Language")
      owner = owner->Parent;
    if (owner->Value("name") == Language()) used.insert(element.Value("lexicon"));
  }
  std::set<std::string> inCorpus;
  for (const CorpusPhrase& phrase : phrases)
    inCorpus.insert(phrase.Lexicon);
  used.erase("");
  EXPECT_EQ(inCorpus, used);
}

INSTANTIATE_TEST_SUITE_P(DemoStation, PronunciationCorpus,
                         ::testing::Values(CorpusFigures{"de", 150, 118},
                                           CorpusFigures{"en", 80, 51}),
                         [](const auto& tested) { return tested.param.Language; });

TEST(TimesLexicon, EveryMinuteOfTheDayIsSaidInGermanHoweverItIsWritten) {
  for (int hour = 0; hour < 24; ++hour) {
    for (int minute = 0; minute < 60; ++minute) {
      const std::string said = (hour == 1 ? "ein" : std::to_string(hour)) + " Uhr" +
                               (minute == 0 ? "" : " " + std::to_string(minute));
      const std::string minutes = TimeText(minute);
      for (const std::string& hours : {TimeText(hour), std::to_string(hour)}) {
        for (const std::string& text :
             {hours + ":" + minutes, hours + ":" + minutes + " Uhr", hours + "." + minutes,
              hours + "." + minutes + " Uhr", hours + ":" + minutes + ":00"}) {
          ASSERT_EQ(Rewritten(text, "de", "times"), said) << text;
        }
      }
    }
  }
}

TEST(TimesLexicon, EveryMinuteOfTheDayIsSaidInEnglishAlikeHoweverItIsWritten) {
  for (int hour = 0; hour < 24; ++hour) {
    for (int minute = 0; minute < 60; ++minute) {
      const std::string minutes = TimeText(minute);
      const std::string said = Rewritten(TimeText(hour) + ":" + minutes, "en", "times");
      ASSERT_EQ(said.find_first_of("0123456789:."), std::string::npos) << said;
      for (const std::string& hours : {TimeText(hour), std::to_string(hour)}) {
        for (const std::string& text :
             {hours + ":" + minutes, hours + ":" + minutes + " Uhr", hours + "." + minutes,
              hours + "." + minutes + " Uhr", hours + ":" + minutes + ":00"}) {
          ASSERT_EQ(Rewritten(text, "en", "times"), said) << text;
        }
      }
    }
  }
}

TEST(Lexica, LongSpellingsAreNotBrokenByShortOnes) {
  EXPECT_EQ(Rewritten("Amsterdam Centraal", "de", "stations"), "Amsterdam Zentral");
  EXPECT_EQ(Rewritten("Milano Centrale", "en", "stations"), "Milan Central");
  EXPECT_EQ(Rewritten("Romanshorn", "en", "stations"), "Romanshorn");
  EXPECT_EQ(Rewritten("New Street", "en", "stations"), "New Street");
  EXPECT_EQ(Rewritten("Straße des 17. Juni", "de", "stations"), "Straße des siebzehnten Juni");
  EXPECT_EQ(Rewritten("Sonderzug", "de", "categories"), "Sonderzug");
  EXPECT_EQ(Rewritten("BUS 100", "de", "lines"), "Bus 100");
}

}  // namespace

}  // namespace toolstest
