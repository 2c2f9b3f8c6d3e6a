#include "mime/body_access.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

class BodyAccess : public PartFixture {
 protected:
  BodyAccess() {
    part_.files.own = Path("m");
    NameBodies(part_.files);
    part_.kind.encoding = TransferEncoding::kBase64;
    Put(part_.files.encoded, "QUJDREVG");
  }

  std::string Read(BodyKind kind, std::uint64_t size, std::int64_t offset) {
    std::string buf(20, '#');
    const std::uint64_t got = ReadBody(part_, kind, buf.data(), size, offset);
    EXPECT_EQ(buf.substr(got), std::string(20 - got, '#'));
    return buf.substr(0, got);
  }

  PartState part_;
};

TEST_F(BodyAccess, TakesTheSizeOfTheOwnFileFirst) {
  Put(Path("m"), "0123456789");
  EXPECT_EQ(BodySize(part_), 10U);
  FileRemove(Path("m").c_str());
  EXPECT_EQ(BodySize(part_), std::nullopt) << "nothing is decoded for the question";
  EXPECT_EQ(*DecodedBodyName(part_), Path("m_d"));
  EXPECT_EQ(BodySize(part_), 6U);
  part_.removed = true;
  EXPECT_EQ(BodySize(part_), std::nullopt);
}

TEST_F(BodyAccess, TakesNoFolderForAFile) {
  part_.files.own = Folder();
  EXPECT_EQ(BodySize(part_), std::nullopt);
}

TEST_F(BodyAccess, HasNoSizeBeforeLoading) {
  EXPECT_EQ(BodySize(PartState()), std::nullopt);
}

TEST_F(BodyAccess, NamesTheBodies) {
  EXPECT_EQ(*EncodedBodyName(part_), Path("m_e"));
  EXPECT_FALSE(Exists(Path("m_d")));
  EXPECT_EQ(*DecodedBodyName(part_), Path("m_d"));
  EXPECT_EQ(Get(Path("m_d")), "ABCDEF");
  EXPECT_EQ(*BodyName(part_, BodyKind::kEncoded), Path("m_e"));
  EXPECT_EQ(*BodyName(part_, BodyKind::kDecoded), Path("m_d"));
}

TEST_F(BodyAccess, NamesAnEncodedBodyOnlyWhenItIsThere) {
  FileRemove(Path("m_e").c_str());
  EXPECT_EQ(EncodedBodyName(part_), nullptr);
  EXPECT_NE(DecodedBodyName(part_), nullptr);
}

TEST_F(BodyAccess, HasNoBodiesOfARemovedOrUnloadedPart) {
  PartState unloaded;
  EXPECT_EQ(DecodedBodyName(unloaded), nullptr);
  EXPECT_EQ(EncodedBodyName(unloaded), nullptr);
  part_.removed = true;
  EXPECT_EQ(DecodedBodyName(part_), nullptr);
  EXPECT_EQ(EncodedBodyName(part_), nullptr);
  EXPECT_EQ(StoredBodySize(part_, BodyKind::kDecoded), 0U);
  EXPECT_EQ(Read(BodyKind::kEncoded, 10, 0), "");
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "x", 1), 0U);
  EXPECT_FALSE(part_.modified);
}

TEST_F(BodyAccess, GivesTheSizesOfTheBodies) {
  EXPECT_EQ(StoredBodySize(part_, BodyKind::kEncoded), 8U);
  EXPECT_EQ(StoredBodySize(part_, BodyKind::kDecoded), 6U);
  EXPECT_FALSE(part_.needsDecode);
}

TEST_F(BodyAccess, ReadsAnyStretch) {
  struct Case {
    std::uint64_t size;
    std::int64_t offset;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {6, 0, "ABCDEF"},
      {20, 0, "ABCDEF"},
      {2, 0, "AB"},
      {2, 3, "DE"},
      {20, 5, "F"},
      {20, 6, ""},
      {20, 7, ""},
      {0, 0, ""},
      {6, -1, ""},
      {6, std::numeric_limits<std::int64_t>::max(), ""},
      {6, std::numeric_limits<std::int64_t>::min(), ""},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Read(BodyKind::kDecoded, one.size, one.offset), one.expected) << one.offset;
  }
  EXPECT_EQ(Read(BodyKind::kEncoded, 4, 2), "JDRE");
  EXPECT_EQ(Get(Path("m_d")), "ABCDEF") << "reading beyond the end adds nothing";
}

TEST_F(BodyAccess, ReadsNothingAfterAFailedSeek) {
  Read(BodyKind::kDecoded, 1, 0);
  FaultTable faults;
  faults.FailOnce(FileEntry::kSeek, 1);
  EXPECT_EQ(Read(BodyKind::kDecoded, 6, 1), "");
  faults.FailOnce(FileEntry::kOpen, 1);
  EXPECT_EQ(Read(BodyKind::kDecoded, 6, 0), "");
  faults.FailOnce(FileEntry::kStat, 1);
  EXPECT_EQ(StoredBodySize(part_, BodyKind::kDecoded), 0U);
}

TEST_F(BodyAccess, ReplacesTheDecodedBodyAndMarksThePart) {
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "new text", 8), 8U);
  EXPECT_TRUE(part_.modified);
  EXPECT_FALSE(part_.needsDecode) << "else the new body would be decoded over";
  EXPECT_EQ(Read(BodyKind::kDecoded, 20, 0), "new text");
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "x", 1), 1U);
  EXPECT_EQ(Read(BodyKind::kDecoded, 20, 0), "x");
}

TEST_F(BodyAccess, EmptiesTheDecodedBodyAndMarksThePart) {
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "", 0), 0U);
  EXPECT_TRUE(part_.modified);
  EXPECT_EQ(StoredBodySize(part_, BodyKind::kDecoded), 0U);
}

TEST_F(BodyAccess, DoesNotMarkAPartWhoseBodyWasNotWritten) {
  Read(BodyKind::kDecoded, 1, 0);
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "new", 3), 0U);
  EXPECT_FALSE(part_.modified);
  faults.FailOnce(FileEntry::kOpen, 1);
  EXPECT_EQ(WriteBody(part_, BodyKind::kDecoded, "new", 3), 0U);
  EXPECT_FALSE(part_.modified);
}

// KEEP(encoded-write-unmarked): and what was decoded before stays as it was.
TEST_F(BodyAccess, ReplacesTheEncodedBodyWithoutMarkingThePart) {
  Read(BodyKind::kDecoded, 1, 0);
  EXPECT_EQ(WriteBody(part_, BodyKind::kEncoded, "WFla", 4), 4U);
  EXPECT_FALSE(part_.modified);
  EXPECT_EQ(Read(BodyKind::kEncoded, 20, 0), "WFla");
  EXPECT_EQ(Read(BodyKind::kDecoded, 20, 0), "ABCDEF");
  FileRemove(Path("m_e").c_str());
  EXPECT_EQ(WriteBody(part_, BodyKind::kEncoded, "WFla", 4), 0U);
  EXPECT_FALSE(Exists(Path("m_e")));
}

}  // namespace
}  // namespace zevka::test
