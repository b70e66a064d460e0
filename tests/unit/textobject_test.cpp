#include "kaTextObject.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "output_of.h"

TEST(TextObject, IsASuperiorWithClassId4000) {
  static_assert(std::is_base_of_v<CkaSuperior, CkaTextObject>);
  const CkaTextObject object;
  EXPECT_EQ(object.GetClassMsgID(), 4000U);
  EXPECT_FALSE(object.bHasMessageParent);
  EXPECT_EQ(object.MessageParent, nullptr);
}

TEST(TextObject, SendsNothingWithoutAParent) {
  CkaTextObject object;
  EXPECT_EQ(OutputOf([&] { object.SendErrMsg(1); }), Nothing());
  EXPECT_EQ(OutputOf([&] { object.SendStdMsg(1); }), Nothing());
}
