#include "mime/block_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

class BlockReaderTest : public PartFixture {
 protected:
  OpenFile Input(std::string_view bytes) {
    Put(Path("in"), bytes);
    return {Path("in"), "rb"};
  }
};

using BlockReaderOnDisk = PlainPartFixture;

std::string Counted(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>(i * 7 % 251);
  }
  return bytes;
}

// Reads everything; each block must begin where the one before it ended.
std::string ReadAll(BlockReader& reader, std::size_t blockSize) {
  EXPECT_TRUE(reader.ReadFirst());
  std::string all;
  for (;;) {
    EXPECT_EQ(reader.BlockStart(), static_cast<std::int64_t>(all.size()));
    EXPECT_LE(reader.Block().size(), blockSize);
    all += reader.Block();
    if (reader.Exhausted()) {
      return all;
    }
    EXPECT_EQ(reader.Block().size(), blockSize) << "only the last block is short";
    EXPECT_TRUE(reader.ReadNext());
  }
}

TEST_F(BlockReaderTest, GivesEveryByteOnceForAnyBlockSize) {
  for (const std::size_t size : {0U, 1U, 2U, 5U, 6U, 7U, 12U, 13U}) {
    for (const std::size_t blockSize : {1U, 2U, 3U, 6U, 7U, 4096U}) {
      OpenFile in = Input(Counted(size));
      BlockReader reader(in, blockSize);
      EXPECT_EQ(ReadAll(reader, blockSize), Counted(size)) << size << " in " << blockSize;
    }
  }
}

TEST_F(BlockReaderTest, ReadsInBlocksOf4096) {
  for (const std::size_t size : {4095U, 4096U, 4097U, 8192U, 8193U}) {
    OpenFile in = Input(Counted(size));
    BlockReader reader(in);
    EXPECT_EQ(ReadAll(reader, 4096), Counted(size)) << size;
  }
}

TEST_F(BlockReaderTest, GivesAnEmptyBlockBehindAWholeLastOne) {
  OpenFile in = Input("abcdef");
  BlockReader reader(in, 3);
  EXPECT_TRUE(reader.ReadFirst());
  EXPECT_EQ(reader.Block(), "abc");
  EXPECT_TRUE(reader.ReadNext());
  EXPECT_EQ(reader.Block(), "def");
  EXPECT_EQ(reader.BlockStart(), 3);
  if (!reader.Exhausted()) {
    EXPECT_TRUE(reader.ReadNext());
    EXPECT_EQ(reader.Block(), "");
    EXPECT_EQ(reader.BlockStart(), 6);
  }
  EXPECT_TRUE(reader.Exhausted());
}

// KEEP(first-block-by-position)
TEST_F(BlockReaderTest, AFileThatStandsFurtherOnHasZerosBehindItsRest) {
  OpenFile in = Input("abcdefgh");
  ASSERT_TRUE(in.Seek(3));
  BlockReader reader(in);
  EXPECT_TRUE(reader.ReadFirst());
  EXPECT_EQ(reader.Block(), std::string_view("defgh\0\0\0", 8));
  EXPECT_TRUE(reader.Exhausted());
}

TEST_F(BlockReaderTest, FailsWhenTheFirstBlockCannotBeRead) {
  for (const FileEntry entry : {FileEntry::kTell, FileEntry::kError}) {
    OpenFile in = Input("some bytes");
    BlockReader reader(in);
    FaultTable faults;
    faults.FailOnce(entry, 1);
    EXPECT_FALSE(reader.ReadFirst());
  }
}

TEST_F(BlockReaderTest, FailsWhenALaterBlockCannotBeRead) {
  OpenFile in = Input("abcdef");
  BlockReader reader(in, 3);
  EXPECT_TRUE(reader.ReadFirst());
  FaultTable faults;
  faults.FailOnce(FileEntry::kRead, 1);
  EXPECT_FALSE(reader.ReadNext());
}

TEST_F(BlockReaderOnDisk, FailsOnAFolder) {
  OpenFile in(Folder(), "rb");
  ASSERT_TRUE(static_cast<bool>(in));
  BlockReader reader(in);
  EXPECT_FALSE(reader.ReadFirst());
}

TEST_F(BlockReaderOnDisk, ReadsDiskFiles) {
  Put(Path("in"), Counted(5000));
  OpenFile in(Path("in"), "rb");
  BlockReader reader(in);
  EXPECT_EQ(ReadAll(reader, 4096), Counted(5000));
}

}  // namespace
}  // namespace zevka::test
