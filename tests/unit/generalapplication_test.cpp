#include "kaGeneralApplication.h"

#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <sstream>
#include <string>

#include "ka-tts-server.h"
#include "output_of.h"
#include "support/temp_dir.h"

namespace {

/// `count` rows of a class whose texts name language, class and number.
std::string Rows(const std::string& language, const std::string& id, int count) {
  std::ostringstream rows;
  for (int number = 0; number < count; ++number) {
    rows << std::left << std::setw(8) << id << "------" << language << ' ' << id << '/' << number
         << '\n';
  }
  return rows.str();
}

std::string CatalogueIn(const std::string& language) {
  return Rows(language, "1000", 3) + Rows(language, "7000", 6) + "4000    ------end\n";
}

class GeneralApplication : public testing::Test {
 protected:
  GeneralApplication() {
    GlbLng = 0;
    Application._KA_THISCLASS_MSG_ID = 7000;
    Application.ErrMsg.SetPrefix("ka-TTS-Server error: ");
    Application.StdMsg.SetPrefix("ka-TTS-Server: ");
    for (const char* language : {"de", "en"}) {
      const std::string path = Directory.Write(language, CatalogueIn(language));
      Application.ErrMsg.AddLanguageItem(path);
      Application.StdMsg.AddLanguageItem(path);
    }
  }
  ~GeneralApplication() override { GlbLng = 0; }

  support::TempDir Directory;
  CkaGeneralApplication Application;
};

}  // namespace

TEST(NewGeneralApplication, HasNoClassAndEmptyCatalogues) {
  const CkaGeneralApplication application;
  EXPECT_EQ(application._KA_THISCLASS_MSG_ID, 999999U);
  EXPECT_FALSE(application.ErrMsg.bIsInitialized);
  EXPECT_FALSE(application.StdMsg.bIsInitialized);
  EXPECT_EQ(application.ErrMsg.strPrefix, "");
  EXPECT_EQ(application.StdMsg.strPrefix, "");
}

TEST(NewGeneralApplication, AnswersWithTheCataloguesErrorText) {
  CkaGeneralApplication application;
  EXPECT_EQ(OutputOf([&] { application.SendErrMsg(0); }),
            OnlyErr("Meldungsfehler!! Die Klasse 999999 ist nicht in der Tabelle der geforderten "
                    "Sprache enthalten. \n\n"));
}

TEST_F(GeneralApplication, SendErrMsgPrintsAMessageOfItsOwnClassOnStandardError) {
  EXPECT_EQ(OutputOf([&] { Application.SendErrMsg(5); }),
            OnlyErr("ka-TTS-Server error: de 7000/5\n\n"));
}

TEST_F(GeneralApplication, SendErrMsgWithAClassPrintsAMessageOfThatClass) {
  EXPECT_EQ(OutputOf([&] { Application.SendErrMsg(2, 1000); }),
            OnlyErr("ka-TTS-Server error: de 1000/2\n\n"));
}

TEST_F(GeneralApplication, SendStdMsgPrintsAMessageOfItsOwnClassOnStandardOutput) {
  EXPECT_EQ(OutputOf([&] { Application.SendStdMsg(0); }), OnlyOut("ka-TTS-Server: de 7000/0\n\n"));
}

TEST_F(GeneralApplication, SendStdMsgWithAClassPrintsAMessageOfThatClass) {
  EXPECT_EQ(OutputOf([&] { Application.SendStdMsg(1, 1000); }),
            OnlyOut("ka-TTS-Server: de 1000/1\n\n"));
}

TEST_F(GeneralApplication, SetGlobalLanguageSwitchesEveryLaterMessage) {
  EXPECT_EQ(Application.SetGlobalLanguage(1), 1);
  EXPECT_EQ(GlbLng, 1);
  EXPECT_EQ(Application.GetGlobalLanguage(), 1);
  EXPECT_EQ(OutputOf([&] { Application.SendErrMsg(5); }),
            OnlyErr("ka-TTS-Server error: en 7000/5\n\n"));
  EXPECT_EQ(OutputOf([&] { Application.SendStdMsg(2, 1000); }),
            OnlyOut("ka-TTS-Server: en 1000/2\n\n"));
}

TEST_F(GeneralApplication, LanguageIsTheProcessWideOne) {
  GlbLng = 1;
  CkaGeneralApplication other;
  EXPECT_EQ(other.GetGlobalLanguage(), 1);
  EXPECT_EQ(Application.GetGlobalLanguage(), 1);
}

TEST_F(GeneralApplication, UnknownClassIsAnsweredByTheCatalogue) {
  EXPECT_EQ(OutputOf([&] { Application.SendStdMsg(0, 5); }),
            OnlyOut("ka-TTS-Server: Meldungsfehler!! Die Klasse 5 ist nicht in der Tabelle der "
                    "geforderten Sprache enthalten. \n\n"));
}

TEST_F(GeneralApplication, UnknownNumberIsAnsweredByTheCatalogue) {
  EXPECT_EQ(OutputOf([&] { Application.SendErrMsg(6); }),
            OnlyErr("ka-TTS-Server error: Meldungsfehler!! Die Klasse 7000 hat keine Meldung mit "
                    "der geforderten Nummer. \n\n"));
}

TEST_F(GeneralApplication, LanguageThatNoCatalogueHasLeavesThePrefix) {
  for (const unsigned int language : {2U, 7U, static_cast<unsigned int>(INT_MAX), UINT_MAX}) {
    EXPECT_EQ(Application.SetGlobalLanguage(language), static_cast<int>(language));
    EXPECT_EQ(OutputOf([&] { Application.SendErrMsg(5); }), OnlyErr("ka-TTS-Server error: \n"))
        << language;
  }
}
