// With the budget used up every file moves to disk. A disk that does not take all of a file says so
// late, when the last bytes leave; nothing may be taken for whole before that.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

#include "fileio/memory_budget.h"
#include "plugin/mime_packer.h"
#include "tests/abi/in_child.h"
#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr std::int64_t kBudget = 134217728;  // bytes
constexpr ::rlim_t kTaken = 20;              // bytes that the disk takes of each file

const std::string kBody = std::string(50, 'b') + "\r\n";
const std::string kText = "Subject: s\r\n\r\n" + kBody;

// Each test runs in a child: files there may have no more than kTaken bytes while a Limited is.
class PressedDisk : public PartFixture {
 protected:
  using Limited = FileSizeLimit;

  template <typename Body>
  void InFolder(Body body) {
    InChildAt(Folder(), [&] {
      void* const ballast = FileOpen("/ballast", "w");
      FileSeek(ballast, kBudget - 1, SEEK_SET);
      FileClose(ballast);
      EXPECT_EQ(MemoryInUse(), static_cast<std::uint64_t>(kBudget));
      body();
      FileRemove("/ballast");
    });
  }

  PartObject* Open(const std::string& text) {
    WriteDisk(Path("m"), text);
    return packer_.OpenMessage(Path("m").c_str());
  }

  PartObject* OpenLimited(const std::string& text) {
    WriteDisk(Path("m"), text);
    const Limited limited(kTaken);
    return packer_.OpenMessage(Path("m").c_str());
  }

  std::ptrdiff_t FilesInFolder() const {
    return std::distance(std::filesystem::directory_iterator(Folder()),
                         std::filesystem::directory_iterator());
  }

  MimePacker packer_;
};

TEST_F(PressedDisk, OpensNoMessageFromMemoryThatItDidNotTakeWhole) {
  InFolder([&] {
    std::string bytes = kText;
    PartObject* message = nullptr;
    {
      const Limited limited(kTaken);
      message = packer_.OpenMessageFromMemory(bytes.data(), static_cast<std::int64_t>(bytes.size()),
                                              true);
    }
    EXPECT_EQ(message, nullptr);
    EXPECT_EQ(FilesInFolder(), 0);
  });
}

TEST_F(PressedDisk, TakesNoBodyForWrittenThatItDidNotTakeWhole) {
  InFolder([&] {
    PartObject* const message = Open(kText);
    ASSERT_NE(message, nullptr);
    const std::string body(60, 'x');
    std::uint64_t written = 0;
    {
      const Limited limited(kTaken);
      written = message->WriteDecodedBody(body.data(), body.size());
    }
    EXPECT_LT(written, body.size());
    EXPECT_EQ(message->WriteDecodedBody(body.data(), body.size()), body.size());
    packer_.ReleaseControl(kDiscardMessage, message);
  });
}

TEST_F(PressedDisk, KeepsTheOldMessageWhenItDidNotTakeTheNewOneWhole) {
  InFolder([&] {
    PartObject* const message = Open(kText);
    ASSERT_NE(message, nullptr);
    message->SetHeader("X-New", "1", 0);
    {
      const Limited limited(kTaken);
      EXPECT_EQ(packer_.CommitMessage(message, nullptr, nullptr, nullptr), 0);
    }
    EXPECT_EQ(Get(Path("m")), kText);
    EXPECT_EQ(FilesInFolder(), 1);
  });
}

// A preamble or a child that is cut would be written back as if it were all there was.
TEST_F(PressedDisk, OpensNoMultipartWhosePiecesItDidNotTakeWhole) {
  InFolder([&] {
    const std::string head = "Content-Type: multipart/mixed; boundary=a\r\n\r\n";
    EXPECT_EQ(OpenLimited(head + kBody + "--a\r\n\r\nx\r\n--a--\r\n"), nullptr);
    EXPECT_EQ(OpenLimited(head + "--a\r\n\r\n" + kBody + "--a--\r\n"), nullptr);
    EXPECT_EQ(FilesInFolder(), 1);
    PartObject* const fitting = OpenLimited(head + "pre\r\n--a\r\n\r\nx\r\n--a--\r\n");
    EXPECT_NE(fitting, nullptr);
    packer_.ReleaseControl(kDiscardMessage, fitting);
  });
}

}  // namespace
}  // namespace zevka::test
