// The kit's files: in memory and on disk by name, and what stays after a failure.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <string>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

using test::OnDisk;
using test::ReadDisk;
using test::TempDir;
using test::WriteDisk;

class KitFiles : public test::KitTest {
 protected:
  TempDir folder_;
  Files files_ = packer_.Files();
};

TEST_F(KitFiles, WrittenFileLivesInMemoryUntilItIsRemoved) {
  const std::string name = folder_.Path("memory");
  const std::string bytes(200000, 'x');
  files_.Write(name, bytes);
  EXPECT_TRUE(files_.Exists(name));
  EXPECT_FALSE(OnDisk(name));
  EXPECT_EQ(files_.Read(name), bytes);
  EXPECT_TRUE(files_.Remove(name));
  EXPECT_FALSE(files_.Exists(name));
  EXPECT_FALSE(files_.Remove(name));
}

TEST_F(KitFiles, EmptyFileIsAFile) {
  const std::string name = folder_.Path("empty");
  files_.Write(name, "");
  EXPECT_TRUE(files_.Exists(name));
  EXPECT_EQ(files_.Read(name), "");
  EXPECT_TRUE(files_.Remove(name));
}

TEST_F(KitFiles, DiskFileIsReadWrittenAndRemovedByTheSameNames) {
  const std::string name = folder_.Path("disk");
  WriteDisk(name, std::string("a\0b", 3));
  EXPECT_TRUE(files_.Exists(name));
  EXPECT_EQ(files_.Read(name), std::string("a\0b", 3));
  files_.Write(name, "new");
  EXPECT_EQ(ReadDisk(name), "new");
  EXPECT_TRUE(files_.Remove(name));
  EXPECT_FALSE(OnDisk(name));
}

TEST_F(KitFiles, MissingFileAndFolderAreFailures) {
  EXPECT_THROW(files_.Read(folder_.Path("missing")), Failure);
  EXPECT_THROW(files_.Read(folder_.Path()), Failure);
}

// The disk says so only when what it has in its buffer is pressed out, and closing tells nothing.
TEST_F(KitFiles, FullDiskIsAFailureAndTheFileThatWasThereStays) {
  EXPECT_THROW(files_.Write("/dev/full", "x"), Failure);
  EXPECT_TRUE(OnDisk("/dev/full"));
}

TEST_F(KitFiles, OpenMemoryFileIsRefusedAndStaysOpen) {
  const std::string name = folder_.Path("shared");
  files_.Write(name, "abc");
  void* handle = files_.Table().open(name.c_str(), "rb");
  ASSERT_NE(handle, nullptr);
  EXPECT_THROW(files_.Read(name), Failure);
  std::string bytes(3, '\0');
  EXPECT_EQ(files_.Table().read(bytes.data(), 1, 3, handle), 3U);
  EXPECT_EQ(bytes, "abc");
  files_.Table().close(handle);
  EXPECT_EQ(files_.Read(name), "abc");
  EXPECT_TRUE(files_.Remove(name));
}

TEST_F(KitFiles, TableHasTheSizeAndTheVersionOfItsHeader) {
  EXPECT_EQ(files_.Table().sizeBytes, sizeof(FileOperations));
  EXPECT_EQ(files_.Table().version, 1U);
}

}  // namespace
}  // namespace zevka::host
