#include "host/loader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <utility>

#include "host/kit/disk.h"
#include "tests/support/temp_dir.h"

namespace zevka::host {
namespace {

using test::OnDisk;
using test::TempDir;
using test::WriteDisk;

constexpr const char* kMessage = "Subject: Hi\n\nHello.\n";

class Loader : public testing::Test {
 protected:
  bool Exists(const std::string& name) const {
    struct stat status {};
    return packer_.Files().stat(name.c_str(), &status) == 0;
  }
  static std::string NameOf(const Message& message) {
    std::string name(512, '\0');
    message->GetFileName(name.data(), name.size() - 1);
    return name.c_str();
  }

  Library library_ = Library::Load(ZEVKA_LIBRARY);
  Packer packer_{library_};
};

TEST_F(Loader, MissingLibraryIsAFailureWithTheLoadersReason) {
  try {
    Library::Load("/nowhere/libzevka.so");
    FAIL() << "a library that is not there was loaded";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("/nowhere/libzevka.so"), std::string::npos);
  }
}

TEST_F(Loader, LibraryWithoutTheExportsIsAFailure) {
  const Library other = Library::Load("libm.so.6");
  EXPECT_THROW(Packer{other}, Failure);
}

TEST_F(Loader, MessageThatGoesOutOfScopeTakesItsMemoryFileAlong) {
  std::string name;
  {
    const Message message = packer_.OpenBytes(kMessage);
    name = NameOf(message);
    EXPECT_TRUE(Exists(name));
  }
  EXPECT_FALSE(Exists(name));
}

TEST_F(Loader, MovedMessageIsEndedOnce) {
  Message first = packer_.OpenBytes(kMessage);
  const std::string name = NameOf(first);
  const Message second = std::move(first);
  EXPECT_EQ(NameOf(second), name);
}

TEST_F(Loader, FinishedMessageGivesItsBytesAndLeavesNoName) {
  Message message = packer_.OpenBytes(kMessage);
  const std::string name = NameOf(message);
  message->SetHeader("X-A", "1", 1);
  EXPECT_EQ(message.Finish(), "Subject: Hi\nX-A: 1\n\nHello.\n");
  EXPECT_FALSE(Exists(name));
}

TEST_F(Loader, CommittedMessageIsInItsFile) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kMessage);
  Message message = packer_.Open(path);
  message->SetHeader("X-A", "1", 1);
  message.Commit();
  EXPECT_EQ(ReadFile(path).bytes, "Subject: Hi\nX-A: 1\n\nHello.\n");
}

TEST_F(Loader, DiscardedMessageLeavesItsFileAsItWas) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kMessage);
  {
    const Message message = packer_.Open(path);
    message->SetHeader("X-A", "1", 1);
  }
  EXPECT_EQ(ReadFile(path).bytes, kMessage);
}

TEST_F(Loader, FinishDoesNotTakeADiskFileAway) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kMessage);
  Message message = packer_.Open(path);
  EXPECT_THROW(message.Finish(), Failure);
  EXPECT_TRUE(OnDisk(path));
}

TEST_F(Loader, MessageThatDoesNotOpenIsAFailure) {
  EXPECT_THROW(packer_.Open("/nowhere/m.eml"), Failure);
  EXPECT_THROW(packer_.OpenBytes(""), Failure);
}

}  // namespace
}  // namespace zevka::host
