// Loading, opening and ending through the host kit: what each way leaves.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <cstddef>
#include <string>
#include <utility>

#include "tests/support/temp_dir.h"

namespace zevka::host {
namespace {

using test::OnDisk;
using test::ReadDisk;
using test::TempDir;
using test::WriteDisk;

constexpr const char* kKitMessage = "Subject: Hi\n\nHello.\n";

std::string OwnName(const Message& message) {
  std::string name(512, '\0');
  message.Root().Raw().GetFileName(name.data(), name.size() - 1);
  return name.c_str();
}

class KitLife : public testing::Test {
 protected:
  Library library_ = Library::Load(ZEVKA_LIBRARY);
  Packer packer_{library_};
};

TEST_F(KitLife, MissingLibraryIsAFailureWithTheLoadersReason) {
  try {
    Library::Load("/nowhere/libzevka.so");
    FAIL() << "a library that is not there was loaded";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("/nowhere/libzevka.so"), std::string::npos);
  }
}

TEST_F(KitLife, LibraryWithoutTheExportsIsAFailure) {
  EXPECT_THROW(Library::Load("libm.so.6"), Failure);
}

TEST_F(KitLife, MessageThatGoesOutOfScopeTakesItsMemoryFileAlong) {
  std::string name;
  {
    const Message message = packer_.OpenBytes(kKitMessage);
    name = OwnName(message);
    EXPECT_TRUE(packer_.Files().Exists(name));
  }
  EXPECT_FALSE(packer_.Files().Exists(name));
}

TEST_F(KitLife, FinishedMessageGivesItsBytesAndLeavesNoName) {
  Message message = packer_.OpenBytes(kKitMessage);
  const std::string name = OwnName(message);
  message.Root().SetField("X-A", "1");
  EXPECT_EQ(message.Finish(), "Subject: Hi\nX-A: 1\n\nHello.\n");
  EXPECT_FALSE(packer_.Files().Exists(name));
}

TEST_F(KitLife, CommittedMessageIsInItsFile) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kKitMessage);
  Message message = packer_.Open(path);
  message.Root().SetField("X-A", "1");
  message.Commit();
  EXPECT_EQ(ReadDisk(path), "Subject: Hi\nX-A: 1\n\nHello.\n");
}

TEST_F(KitLife, DiscardedMessageLeavesItsFileAsItWas) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kKitMessage);
  {
    const Message message = packer_.Open(path);
    message.Root().SetField("X-A", "1");
  }
  EXPECT_EQ(ReadDisk(path), kKitMessage);
}

TEST_F(KitLife, FinishDoesNotTakeADiskFileAway) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kKitMessage);
  Message message = packer_.Open(path);
  EXPECT_THROW(message.Finish(), Failure);
  EXPECT_TRUE(OnDisk(path));
}

TEST_F(KitLife, MessageThatDoesNotOpenIsAFailure) {
  EXPECT_THROW(packer_.Open("/nowhere/m.eml"), Failure);
  EXPECT_THROW(packer_.OpenBytes(""), Failure);
}

}  // namespace
}  // namespace zevka::host
