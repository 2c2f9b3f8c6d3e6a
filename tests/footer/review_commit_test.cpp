// What a commit leaves behind when memory or the file layer fails at the worst moment: the message,
// on disk, and nothing under a temporary name. The allocation functions of this program are
// replaced by ones that can be told to fail.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "footer/commit.h"
#include "footer/footer_part.h"
#include "footer/wrapper.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace {

std::atomic<int> allocationsUntilFailure = 0;  // 0: none fails

bool Fails() {
  return allocationsUntilFailure > 0 && --allocationsUntilFailure == 0;
}

}  // namespace

// Kept out of line: GCC 12 takes an inlined free for one that does not fit its new.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
  void* const block = Fails() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}
void* operator new(std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
  return Fails() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t /*bytes*/) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  std::free(block);
}

namespace zevka::test {
namespace {

const std::string kHtml = "Subject: s\r\nContent-Type: text/html\r\n\r\n<p>\r\n";
const std::string kMixed =
    "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\nA: 1\r\n\r\none\r\n"
    "--abc--\r\n";

class CommitReview : public PartFixture {
 protected:
  // Opens a message that lies on disk and asks for a footer.
  PartPtr Open(const std::string& text, const char* footer) {
    WriteDisk(Path("m"), text);
    PartPtr part = NewPart();
    part->State().writeThrough = true;
    EXPECT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
    part->SetFooterText(footer);
    return part;
  }

  void ExpectNoTemporaryName() const {
    for (const std::string name :
         {"m_b", "m_e", "m_d", "m_0", "m_0_e", "m_0_d", "m_footer", "m_footer_e", "m_footer_d",
          "m_footer_b", "m_multipart", "m_multipart_e", "m_multipart_d", "m_multipart_b",
          "m_multipart_0", "m_multipart_0_e"}) {
      EXPECT_FALSE(Exists(Path(name))) << name;
    }
  }

  // Commits with the n-th allocation failing, for every n there is.
  void EachAllocation(const std::string& text, const char* footer) {
    for (int n = 1; n < 5000 && !HasFailure(); ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      PartPtr part = Open(text, footer);
      allocationsUntilFailure = n;
      const int result = CommitMessage(std::move(part), {});
      const bool failed = allocationsUntilFailure == 0;
      allocationsUntilFailure = 0;
      EXPECT_TRUE(result == 0 || (result == -1 && failed)) << result;
      EXPECT_TRUE(OnDisk(Path("m"))) << "a message that was on disk is there again";
      ExpectNoTemporaryName();
      RemoveMemoryFiles();
      ASSERT_EQ(InstallMemoryFiles(), 0);
      if (!failed) {
        return;
      }
    }
  }
};

TEST_F(CommitReview, BringsTheMessageToDiskWhicheverAllocationFails) {
  EachAllocation("Subject: s\r\n\r\nHi\r\n", nullptr);
  EachAllocation("Subject: s\r\n\r\nHi\r\n", "Scanned, and longer than a short string");
}

TEST_F(CommitReview, LeavesNoFooterFileWhicheverAllocationFails) {
  EachAllocation(kMixed, "Scanned, and longer than a short string");
}

TEST_F(CommitReview, LeavesNoWrapperFileWhicheverAllocationFails) {
  EachAllocation(kHtml, "Scanned");
}

// A foreign file that cannot be opened for writing is not the library's to remove.
TEST_F(CommitReview, LeavesAFileAloneThatItCannotOpen) {
  for (const std::string name : {"m_footer", "m_multipart"}) {
    WriteDisk(Path(name), "foreign");
  }
  const PartPtr part = Open(kHtml, "Scanned");
  FaultTable faults;
  faults.FailFrom(FileEntry::kOpen, 1);
  EXPECT_FALSE(MakeFooterPart(part->State()).has_value());
  EXPECT_FALSE(MakeWrapperFile(part->State()).has_value());
  faults.FailNothing();
  EXPECT_EQ(ReadDisk(Path("m_footer")), "foreign");
  EXPECT_EQ(ReadDisk(Path("m_multipart")), "foreign");
}

// The files of a wrapper have longer names than those of its message: with a name of 244 characters
// the skeleton is made and cannot be loaded. The message is then saved without its footer, and when
// writing fails as well, the old one is there.
TEST_F(CommitReview, KeepsTheMessageWhenItsWrapperDoesNotLoadAndWritingFailsToo) {
  const std::string path = Path(std::string(244, 'n'));
  bool faulted = true;
  for (int n = 1; faulted && !HasFailure(); ++n) {
    SCOPED_TRACE("write " + std::to_string(n));
    WriteDisk(path, kHtml);
    PartPtr part = NewPart();
    part->State().writeThrough = true;
    ASSERT_EQ(part->LoadFromFile(path.c_str()), 1);
    part->SetFooterText("Scanned");
    {
      FaultTable faults;
      faults.FailFrom(FileEntry::kWrite, n);
      EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
      faulted = faults.Faults() > 0;
    }
    EXPECT_EQ(ReadDisk(path), kHtml);
    EXPECT_FALSE(Exists(path + "_multipart"));
    EXPECT_FALSE(Exists(path + "_footer"));
    EXPECT_FALSE(Exists(path + "_b"));
  }
}

// Lets the next opening of one file for reading fail.
class FailReading {
 public:
  explicit FailReading(std::string name) {
    Wrapped() = CurrentFileOperations();
    Name() = std::move(name);
    CurrentFileOperations().open = &Open;
  }
  ~FailReading() { CurrentFileOperations() = Wrapped(); }
  FailReading(const FailReading&) = delete;
  FailReading& operator=(const FailReading&) = delete;

  static bool HasFailed() { return Name().empty(); }

 private:
  static FileOperationTable& Wrapped() {
    static FileOperationTable table;
    return table;
  }
  static std::string& Name() {
    static std::string name;
    return name;
  }
  static void* Open(const char* name, const char* mode) {
    if (Name() == name && std::strcmp(mode, "rb") == 0) {
      Name().clear();
      return nullptr;
    }
    return Wrapped().open(name, mode);
  }
};

// A child whose text cannot be opened is left out; the wrapped message is such a child, and the old
// one must not go then.
TEST_F(CommitReview, KeepsTheOldMessageWhenTheWrapperLeftItOut) {
  PartPtr part = Open(kHtml, "Scanned");
  {
    const FailReading failing(Path("m"));
    EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
    EXPECT_TRUE(FailReading::HasFailed());
  }
  EXPECT_EQ(ReadDisk(Path("m")), kHtml);
  ExpectNoTemporaryName();
}

}  // namespace
}  // namespace zevka::test
