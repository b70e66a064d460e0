#include "common/language.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tools {

namespace {

/// The variables of the locale, empty at first.
class EnvironmentLanguageTest : public ::testing::Test {
 protected:
  EnvironmentLanguageTest() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
      unsetenv(name);  // NOLINT(concurrency-mt-unsafe): no other thread
  }
  static void Set(const char* name, const char* value) {
    setenv(name, value, 1);  // NOLINT(concurrency-mt-unsafe): no other thread
  }
};

using EnvironmentLanguageOf = EnvironmentLanguageTest;

TEST_F(EnvironmentLanguageOf, NoVariableIsEnglish) {
  EXPECT_EQ(EnvironmentLanguage(), Language::English);
}

TEST_F(EnvironmentLanguageOf, EveryGermanLocaleIsGerman) {
  for (const char* locale : {"de", "de_DE.UTF-8", "de_AT", "de_CH@euro"}) {
    Set("LANG", locale);
    EXPECT_EQ(EnvironmentLanguage(), Language::German) << locale;
  }
}

TEST_F(EnvironmentLanguageOf, EverythingElseIsEnglish) {
  for (const char* locale : {"C", "C.UTF-8", "en_GB.UTF-8", "fr_FR.UTF-8", "nds_DE"}) {
    Set("LANG", locale);
    EXPECT_EQ(EnvironmentLanguage(), Language::English) << locale;
  }
}

TEST_F(EnvironmentLanguageOf, FirstOfTheVariablesCounts) {
  Set("LANG", "de_DE.UTF-8");
  Set("LC_MESSAGES", "en_GB.UTF-8");
  EXPECT_EQ(EnvironmentLanguage(), Language::English);
  Set("LC_ALL", "de_DE.UTF-8");
  EXPECT_EQ(EnvironmentLanguage(), Language::German);
}

TEST_F(EnvironmentLanguageOf, EmptyVariableIsNone) {
  Set("LC_ALL", "");
  Set("LANG", "de_DE");
  EXPECT_EQ(EnvironmentLanguage(), Language::German);
}

TEST(Say, FillsInTheTextOfTheLanguage) {
  constexpr Bilingual text = {"{1} in {0}", "{0} has {1}"};
  EXPECT_EQ(Say(text, Language::German, "Datei", 3), "3 in Datei");
  EXPECT_EQ(Say(text, Language::English, "file", 3), "file has 3");
}

TEST(Say, MissingArgumentIsAnError) {
  EXPECT_THROW(Say(Bilingual{"{0}", "{0} {1}"}, Language::English, 1), fmt::format_error);
}

}  // namespace

}  // namespace tools
