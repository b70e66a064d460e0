#include "words/phonemes.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "words_corpus.h"

namespace toolstest {

namespace {

/// What the engine's own program prints: a line per clause.
std::string PrintedByEspeak(const std::string& text, const std::string& voice) {
  const std::string command = "espeak-ng -q -x -v " + voice + " '" + text + "'";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string printed;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    printed += static_cast<char>(c);
  return printed;
}

TEST(Phonemes, AreThoseThatTheEngineSpeaks) {
  EXPECT_EQ(ThePhonemes().Of("zehn Uhr fünf", "de") + "\n", PrintedByEspeak("zehn Uhr fünf", "de"));
  EXPECT_EQ(ThePhonemes().Of("nine oh four", "en-gb") + "\n",
            PrintedByEspeak("nine oh four", "en-gb"));
}

TEST(Phonemes, ClausesAreJoinedByBars) {
  EXPECT_EQ(ThePhonemes().Of("Bonn. Ulm.", "de"),
            ThePhonemes().Of("Bonn.", "de") + " || " + ThePhonemes().Of("Ulm.", "de"));
}

TEST(Phonemes, TextWithoutWordsHasNone) {
  EXPECT_EQ(ThePhonemes().Of("", "de"), "");
  EXPECT_EQ(ThePhonemes().Of(" ", "de"), "");
}

TEST(Phonemes, VoicesChangeFromTextToText) {
  const std::string german = ThePhonemes().Of("die", "de");
  EXPECT_NE(ThePhonemes().Of("die", "en-gb"), german);
  EXPECT_EQ(ThePhonemes().Of("die", "de"), german);
}

TEST(Phonemes, UnknownVoiceIsAnError) {
  EXPECT_THROW(ThePhonemes().Of("x", "nobody"), std::runtime_error);
}

TEST(WithoutPauses, LeavesStressAndPausesBetweenClauses) {
  EXPECT_EQ(tools::WithoutPauses("ts'e:n _!'u:r _|aIn"), "ts'e:n'u:raIn");
  EXPECT_EQ(tools::WithoutPauses("b'On || _'Ulm"), "b'On||'Ulm");
  EXPECT_EQ(tools::WithoutPauses("'A:_:_: bIs a|i"), "'A:_:_:bIsai");
}

}  // namespace

}  // namespace toolstest
