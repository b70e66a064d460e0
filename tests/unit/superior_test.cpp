#include "kaSuperior.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "kaCacheManager.h"
#include "kaCaseCheck.h"
#include "kaCases.h"
#include "kaFile.h"
#include "kaGeneralApplication.h"
#include "kaMessageTxt.h"
#include "kaNavigateXML.h"
#include "kaProfile.h"
#include "kaRBLDataContent.h"
#include "kaRBLDataFormat.h"
#include "kaSpeechFormat.h"
#include "kaSpeechGen.h"
#include "kaSpeechbuilder.h"
#include "kaTCPIPGet.h"
#include "kaTTSServer.h"
#include "kaTextObject.h"
#include "output_of.h"
#include "support/temp_dir.h"

namespace {

constexpr const char* kRows =
    "3       ......message 0 of class 3\n"
    "7000    ......message 0 of class 7000\n"
    "7000    ......message 1 of class 7000\n";

/// An application with one language and a prefix per catalogue.
class SuperiorWithParent : public testing::Test {
 protected:
  SuperiorWithParent() {
    Application.ErrMsg.SetPrefix("err: ");
    Application.StdMsg.SetPrefix("std: ");
    Application.ErrMsg.AddLanguageItem(Catalogue);
    Application.StdMsg.AddLanguageItem(Catalogue);
  }

  support::TempDir Directory;
  const std::string Catalogue = Directory.Write("messages.csv", kRows);
  CkaGeneralApplication Application;
};

}  // namespace

TEST(Superior, HasNeitherParentNorClassByDefault) {
  const CkaSuperior object;
  EXPECT_FALSE(object.bHasMessageParent);
  EXPECT_EQ(object.MessageParent, nullptr);
  EXPECT_EQ(object.GetClassMsgID(), 999999U);
  EXPECT_EQ(CkaSuperior::kNoClassMsgID, 999999U);
}

TEST(Superior, ParentIsTakenButGivesNoClass) {
  CkaGeneralApplication application;
  const CkaSuperior object(&application);
  EXPECT_TRUE(object.bHasMessageParent);
  EXPECT_EQ(object.MessageParent, &application);
  EXPECT_EQ(object.GetClassMsgID(), 999999U);
}

TEST(Superior, GetClassMsgIdReturnsTheField) {
  CkaSuperior object;
  object._KA_THISCLASS_MSG_ID = 42;
  EXPECT_EQ(object.GetClassMsgID(), 42U);
}

TEST(Superior, DestructorIsVirtual) {
  static_assert(std::has_virtual_destructor_v<CkaSuperior>);
  static_assert(std::has_virtual_destructor_v<CkaGeneralApplication>);
}

TEST(Superior, EveryClassSetsItsOwnClassId) {
  EXPECT_EQ(CkaFile().GetClassMsgID(), 3000U);
  EXPECT_EQ(CkaTextObject().GetClassMsgID(), 4000U);
  EXPECT_EQ(CkaTCPIPGet().GetClassMsgID(), 8000U);
  EXPECT_EQ(CkaProfile().GetClassMsgID(), 9000U);
  EXPECT_EQ(CkaNavigateXML().GetClassMsgID(), 10000U);
  EXPECT_EQ(CkaSpeechFormat().GetClassMsgID(), 10100U);
  EXPECT_EQ(CkaRBLDataFormat().GetClassMsgID(), 10200U);
  EXPECT_EQ(CkaCases().GetClassMsgID(), 10300U);
  EXPECT_EQ(CkaRBLDataContent().GetClassMsgID(), 10400U);
  EXPECT_EQ(CkaSpeechGen().GetClassMsgID(), 10500U);
  EXPECT_EQ(CkaMessageTxt()._KA_THISCLASS_MSG_ID, 0U);
}

TEST(Superior, CaseCheckAndSpeechbuilderShareTheirClassId) {
  EXPECT_EQ(CkaCaseCheck().GetClassMsgID(), 11000U);
  EXPECT_EQ(CkaSpeechbuilder().GetClassMsgID(), 11000U);
}

TEST(Superior, ServerHasClassId7000) {
  const support::TempDir empty;
  const support::ServerRoot root(empty.Path());
  unsigned int id = 0;
  OutputOf([&] { id = CkaTTSServer()._KA_THISCLASS_MSG_ID; });
  AppRef = nullptr;
  EXPECT_EQ(id, 7000U);
}

TEST(Superior, CacheManagerIsNoneOfThem) {
  static_assert(!std::is_base_of_v<CkaSuperior, CkaCacheManager>);
}

TEST(Superior, WithoutAParentNothingIsSent) {
  CkaSuperior object;
  EXPECT_EQ(OutputOf([&] { object.SendErrMsg(3); }), Nothing());
  EXPECT_EQ(OutputOf([&] { object.SendStdMsg(3); }), Nothing());
}

TEST_F(SuperiorWithParent, MessageNumberAndClassAreExchanged) {
  CkaSuperior object(&Application);
  object._KA_THISCLASS_MSG_ID = 1;
  EXPECT_EQ(OutputOf([&] { object.SendErrMsg(7000); }), OnlyErr("err: message 1 of class 7000\n"));
  EXPECT_EQ(OutputOf([&] { object.SendStdMsg(7000); }), OnlyOut("std: message 1 of class 7000\n"));
}

TEST_F(SuperiorWithParent, ProfileSending4LooksUpTheUnknownClass4) {
  CkaProfile profile;
  profile.MessageParent = &Application;
  EXPECT_EQ(OutputOf([&] { profile.SendErrMsg(4); }),
            OnlyErr("err: Meldungsfehler!! Die Klasse 4 ist nicht in der Tabelle der geforderten "
                    "Sprache enthalten. \n\n"));
}

TEST_F(SuperiorWithParent, ProfileSending3LooksUpMessage9000OfClass3) {
  CkaProfile profile;
  profile.MessageParent = &Application;
  EXPECT_EQ(OutputOf([&] { profile.SendErrMsg(3); }),
            OnlyErr("err: Meldungsfehler!! Die Klasse 3 hat keine Meldung mit der geforderten "
                    "Nummer. \n\n"));
}

TEST_F(SuperiorWithParent, ParentFlagIsNotConsulted) {
  CkaSuperior object;
  object._KA_THISCLASS_MSG_ID = 0;
  object.MessageParent = &Application;
  ASSERT_FALSE(object.bHasMessageParent);
  EXPECT_EQ(OutputOf([&] { object.SendErrMsg(3); }), OnlyErr("err: message 0 of class 3\n\n"));
}
