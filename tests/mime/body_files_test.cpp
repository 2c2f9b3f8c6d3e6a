#include "mime/body_files.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

class BodyFilesTest : public PartFixture {
 protected:
  // Files of a part of this name, all of them there.
  BodyFiles AllOf(const std::string& name) {
    BodyFiles files;
    files.own = name;
    NameBodies(files);
    files.sourceCopy = files.encoded + ".rfc822";
    for (const std::string& file : {*files.own, files.encoded, files.decoded, *files.sourceCopy}) {
      Put(file, "x");
    }
    return files;
  }
};

TEST(BodyFiles, AreNamedAfterThePart) {
  BodyFiles files;
  files.own = "some/message.eml";
  NameBodies(files);
  EXPECT_EQ(files.encoded, "some/message.eml_e");
  EXPECT_EQ(files.decoded, "some/message.eml_d");
  EXPECT_EQ(files.own, "some/message.eml");
  EXPECT_EQ(files.sourceCopy, std::nullopt);
}

TEST_F(BodyFilesTest, GoAtTheEndAndTheOwnFileStays) {
  const BodyFiles files = AllOf(Path("message"));
  RemoveAtEnd(files, std::nullopt);
  EXPECT_TRUE(Exists(*files.own));
  EXPECT_FALSE(Exists(files.encoded));
  EXPECT_FALSE(Exists(files.decoded));
  EXPECT_FALSE(Exists(*files.sourceCopy));
}

// KEEP(footer-file-by-name): the name alone says that a file is a footer's.
TEST_F(BodyFilesTest, IncludeAnOwnFileWhoseLongEnoughNameIsAFooters) {
  struct Case {
    std::string name;
    bool stays;
  };
  // A relative name of 8 characters stays, one of 9 goes; in a folder the whole path counts.
  for (const Case& one : {Case{"a_footer", true}, Case{"ab_footer", false}, Case{"ab_Footer", true},
                          Case{"ab_footer1", true}, Case{Path("_footer"), false}}) {
    const BodyFiles files = AllOf(one.name);
    RemoveAtEnd(files, std::nullopt);
    EXPECT_EQ(Exists(*files.own), one.stays) << one.name;
    FileRemove(files.own->c_str());
  }
}

// KEEP(footer-text-removed): as if it named a file.
TEST_F(BodyFilesTest, IncludeAFileThatHasTheFooterForAName) {
  const BodyFiles files = AllOf(Path("message"));
  Put(Path("victim"), "x");
  RemoveAtEnd(files, Path("other"));
  EXPECT_TRUE(Exists(Path("victim")));
  RemoveAtEnd(files, Path("victim"));
  EXPECT_FALSE(Exists(Path("victim")));
}

TEST_F(BodyFilesTest, OfAPartThatWasNeverLoadedAreNone) {
  RemoveAtEnd(BodyFiles(), std::nullopt);
  RemoveOwnAndBodies(BodyFiles());
}

TEST_F(BodyFilesTest, GoWithTheOwnFileWhenAPartIsTakenAway) {
  const BodyFiles files = AllOf(Path("message"));
  RemoveOwnAndBodies(files);
  EXPECT_FALSE(Exists(*files.own));
  EXPECT_FALSE(Exists(files.encoded));
  EXPECT_FALSE(Exists(files.decoded));
  EXPECT_TRUE(Exists(*files.sourceCopy)) << "the source copy goes at the end";
  RemoveOwnAndBodies(files);
}

}  // namespace
}  // namespace zevka::test
