#include "SharedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using engine::SharedLibrary;
using testing::HasSubstr;

namespace {

std::string ErrorOf(const auto& action) {
  try {
    action();
    return "";
  } catch (const SharedLibrary::Error& error) {
    return error.what();
  }
}

TEST(SharedLibraryTest, GivesTheFunctionsOfALibrary) {
  const SharedLibrary library("libm.so.6");
  double (*const cosine)(double) = library.Function<double(double)>("cos");
  EXPECT_EQ(cosine(0), 1);
}

TEST(SharedLibraryTest, MissingLibraryIsNamed) {
  EXPECT_THAT(ErrorOf([] { SharedLibrary("libnosuch.so.0"); }), HasSubstr("libnosuch.so.0"));
}

TEST(SharedLibraryTest, MissingFunctionIsNamed) {
  const SharedLibrary library("libm.so.6");
  EXPECT_THAT(ErrorOf([&] { library.Function<void()>("nosuchfunction"); }),
              HasSubstr("nosuchfunction"));
}

}  // namespace
