#include "kaCaseIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kaCases.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Ids and what they refer to.
using Definitions = std::vector<std::pair<std::string, std::vector<std::string>>>;

class CaseIndex : public testing::Test {
 protected:
  kaCaseIndex IndexOf(const Definitions& definitions) {
    Cases.SortedCases.clear();
    for (const auto& [id, references] : definitions) {
      CkaCases::kaCaseStruct& record = Cases.SortedCases.emplace_back();
      record.Id = id;
      record.CaseRefs = references;
    }
    return kaCaseIndex(Cases);
  }

  CkaCases Cases;
};

}  // namespace

TEST_F(CaseIndex, IsEmptyWithoutCases) {
  EXPECT_EQ(kaCaseIndex().Find("a"), std::nullopt);
  EXPECT_EQ(IndexOf({}).Find(""), std::nullopt);
}

TEST_F(CaseIndex, FindsCasesByTheirExactName) {
  const kaCaseIndex index = IndexOf({{"a", {}}, {"", {}}, {"a longer name than others", {}}});
  EXPECT_EQ(index.Find("a"), 0U);
  EXPECT_EQ(index.Find(""), 1U);
  EXPECT_EQ(index.Find("a longer name than others"), 2U);
  EXPECT_EQ(index.Find("A"), std::nullopt);
}

TEST_F(CaseIndex, FindsTheLastOfOneName) {
  const kaCaseIndex index = IndexOf({{"a", {}}, {"a", {}}, {"b", {}}});
  EXPECT_EQ(index.Find("a"), 1U);
}

TEST_F(CaseIndex, ReferencesAreToTheLastOfANameBefore) {
  const kaCaseIndex index =
      IndexOf({{"a", {}}, {"b", {"a"}}, {"a", {"b", "a"}}, {"c", {"a", "a", "b"}}, {"a", {}}});
  EXPECT_THAT(index.ReferencesOf(0), IsEmpty());
  EXPECT_THAT(index.ReferencesOf(1), ElementsAre(0));
  EXPECT_THAT(index.ReferencesOf(2), ElementsAre(1, 0));
  EXPECT_THAT(index.ReferencesOf(3), ElementsAre(2, 2, 1));
  EXPECT_THAT(index.ReferencesOf(4), IsEmpty());
}

TEST_F(CaseIndex, ReferencesOfWhichOneIsToNoCaseBeforeAreNone) {
  const kaCaseIndex index =
      IndexOf({{"a", {"a"}}, {"b", {"a", "c"}}, {"c", {"none", "a"}}, {"d", {"a", "b"}}});
  EXPECT_THAT(index.ReferencesOf(0), IsEmpty());
  EXPECT_THAT(index.ReferencesOf(1), IsEmpty());
  EXPECT_THAT(index.ReferencesOf(2), IsEmpty());
  EXPECT_THAT(index.ReferencesOf(3), ElementsAre(0, 1));
}
