#include "check/profile_file.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "common/cannot_run.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

using ::testing::ElementsAre;

class ProfileFileTest : public ::testing::Test {
 protected:
  ProfileFile Load(const std::string& text) const {
    return ProfileFile(directory.Write("profile", text));
  }

  support::TempDir directory;
};

/// "line:column name=value@column", with "!" for a faulty one.
std::vector<std::string> Texts(const ProfileFile& file) {
  std::vector<std::string> texts;
  for (const ProfileRow& row : file.Rows()) {
    const std::string place = std::to_string(row.Line) + ":" + std::to_string(row.Column) + " ";
    texts.push_back(
        place + (row.bFaulty ? row.Name + "!"
                             : row.Name + "=" + row.Value + "@" + std::to_string(row.ValueColumn)));
  }
  return texts;
}

TEST_F(ProfileFileTest, RowsHaveThePlacesOfNameAndValue) {
  EXPECT_THAT(Texts(Load("# x\na=\"1\"\n\n[s]\n  bc = 'd\"'\n\tä=  'é' \r\nlast=\"\"")),
              ElementsAre("2:1 a=1@4", "5:3 bc !", "6:2 ä=é@7", "7:1 last=@7"));
}

TEST_F(ProfileFileTest, FaultyRowsHaveWhatStandsBeforeTheEqualsSign) {
  EXPECT_THAT(Texts(Load("a=1\n=\"x\"\nno assignment\n")),
              ElementsAre("1:1 a!", "2:1 !", "3:1 no assignment!"));
}

TEST_F(ProfileFileTest, PlaceWithinAValueCountsCharacters) {
  const ProfileFile file = Load("a=\"äöü x\"");
  EXPECT_EQ(file.ValueAt(file.Rows()[0], file.Rows()[0].Value.find('x')).Column, 8);
}

TEST_F(ProfileFileTest, FirstAssignmentCounts) {
  const ProfileFile file = Load("a=0\na=\"1\"\na=\"2\"\n");
  ASSERT_NE(file.Find("a"), nullptr);
  EXPECT_EQ(file.Find("a")->Value, "1");
  EXPECT_EQ(file.Find("b"), nullptr);
}

TEST_F(ProfileFileTest, MentionsWhatWasMeant) {
  const ProfileFile file = Load("a =\"1\"\nb=2\nc\n");
  EXPECT_TRUE(file.Mentions("a"));
  EXPECT_TRUE(file.Mentions("b"));
  EXPECT_TRUE(file.Mentions("c"));
  EXPECT_FALSE(file.Mentions("d"));
}

TEST_F(ProfileFileTest, FileThatCannotBeReadIsAnError) {
  EXPECT_THROW(ProfileFile(directory.Sub("none")), CannotRun);
}

}  // namespace

}  // namespace tools
