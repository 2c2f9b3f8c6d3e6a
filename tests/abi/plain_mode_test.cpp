// The library without its memory files: a host may take the layer away and put it back. Each test
// has a process and a working folder to itself.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nbody\r\n";

template <typename Body>
void WithoutTheLayer(Body body) {
  const TempDir folder;
  InChildAt(folder.Path(), [&body] {
    const Host host;
    host.Files().removeMemoryFiles();
    body(host, host.Files());
  });
}

// KEEP(host-gets-forwarding-functions)
TEST(PlainMode, IsFollowedByTheOperationsThatTheHostHolds) {
  const TempDir folder;
  InChildAt(folder.Path(), [] {
    const Host host;
    const FileOperations& files = host.Files();
    WriteFile(host, "before", "lost");
    files.removeMemoryFiles();
    EXPECT_FALSE(Exists(host, "before")) << "discarded, not written";
    EXPECT_FALSE(OnDisk("before"));
    files.close(files.open("plain", "w+b"));
    EXPECT_TRUE(OnDisk("plain"));
    EXPECT_EQ(files.installMemoryFiles(), 0);
    WriteFile(host, "after", "text");
    EXPECT_TRUE(InMemory(host, "after"));
    EXPECT_FALSE(OnDisk("after"));
    EXPECT_FALSE(Exists(host, "before"));
    files.removeMemoryFiles();
    files.removeMemoryFiles();
    EXPECT_FALSE(Exists(host, "after"));
    EXPECT_EQ(files.installMemoryFiles(), 0);
    EXPECT_EQ(host.Rewritten(kPlain), kPlain);
  });
}

TEST(PlainMode, GivesTheCLibrarysStreams) {
  WithoutTheLayer([](const Host&, const FileOperations& files) {
    void* const handle = files.open("f", "wb");
    EXPECT_NE(std::fputs("by the host", static_cast<std::FILE*>(handle)), EOF);
    EXPECT_EQ(files.close(handle), 0);
    EXPECT_EQ(DiskBytes("f"), "by the host");
  });
}

TEST(PlainMode, WorksAsTheCLibraryDoes) {
  WithoutTheLayer([](const Host& host, const FileOperations& files) {
    void* handle = files.open("f", "a");
    EXPECT_NE(handle, nullptr) << "appending creates";
    EXPECT_EQ(files.write("0123456789", 5, 2, handle), 2U);
    EXPECT_EQ(files.close(handle), 0);
    EXPECT_EQ(SizeOf(host, "f"), 10);

    handle = files.open("f", "rb");
    EXPECT_EQ(files.seek(handle, -2, SEEK_END), 0);
    EXPECT_EQ(files.tell(handle), 8);
    char bytes[8] = {};
    EXPECT_EQ(files.read(bytes, 1, 8, handle), 2U);
    EXPECT_NE(files.eof(handle), 0);
    EXPECT_EQ(files.error(handle), 0);
    EXPECT_EQ(files.write("x", 1, 1, handle), 0U);
    EXPECT_NE(files.error(handle), 0);
    files.clearError(handle);
    EXPECT_EQ(files.error(handle), 0);
    EXPECT_EQ(files.eof(handle), 0);
    EXPECT_EQ(files.close(handle), 0);

    EXPECT_EQ(files.rename("f", "g"), 0);
    EXPECT_TRUE(OnDisk("g"));
    EXPECT_EQ(files.remove("g"), 0);
    EXPECT_FALSE(OnDisk("g"));
    errno = 0;
    EXPECT_EQ(files.remove("g"), -1);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(files.rename("g", "h"), -1);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(files.open("g", "rb"), nullptr);
    EXPECT_EQ(errno, ENOENT);
  });
}

// KEEP(plain-is-on-disk)
TEST(PlainMode, SaysNothingOfUseAboutTheDisk) {
  WithoutTheLayer([](const Host&, const FileOperations& files) {
    struct stat status {};
    errno = 0;
    EXPECT_EQ(files.stat("missing", &status), -1);
    EXPECT_EQ(errno, ENOENT) << "here as the C library says it";
    EXPECT_EQ(files.isOnDisk("missing"), 1);
    EXPECT_EQ(files.commit("missing"), 0);
    WriteDisk("there", "x");
    EXPECT_EQ(files.isOnDisk("there"), 1);
    EXPECT_EQ(files.commit("there"), 0);
  });
}

TEST(PlainMode, OpensAndCommitsMessagesOnDisk) {
  WithoutTheLayer([](const Host& host, const FileOperations&) {
    WriteDisk("m", kPlain);
    PartObject* const message = host->OpenMessage("m");
    EXPECT_NE(message, nullptr);
    if (message == nullptr) {
      return;
    }
    EXPECT_EQ(DiskBytes("m_e"), "body\r\n") << "body files lie beside the message";
    EXPECT_EQ(message->GetDecodedBodyBuffer(), nullptr);
    EXPECT_EQ(message->GetEncodedBodyBuffer(), nullptr);
    EXPECT_EQ(DiskBytes("m_d"), "body\r\n");
    EXPECT_EQ(message->SetHeader("X-B", "2", 0), 1);
    EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(DiskBytes("m"), "Subject: one\r\nX-B: 2\r\n\r\nbody\r\n");
    EXPECT_FALSE(OnDisk("m_e"));
    EXPECT_FALSE(OnDisk("m_d"));
    EXPECT_FALSE(OnDisk("m_b"));
  });
}

TEST(PlainMode, KeepsAMessageFromMemoryInTheWorkingFolder) {
  WithoutTheLayer([](const Host& host, const FileOperations&) {
    PartObject* message = host.Open(kPlain);
    EXPECT_NE(message, nullptr);
    if (message == nullptr) {
      return;
    }
    const std::string name = Host::FileName(message);
    EXPECT_EQ(name.substr(0, 9), "filename-");
    EXPECT_EQ(DiskBytes(name), kPlain);
    EXPECT_EQ(host.Close(message, true), kPlain);
    EXPECT_FALSE(OnDisk(name));
    EXPECT_FALSE(OnDisk(name + "_e"));
  });
}

TEST(PlainMode, TakesNoBufferOver) {
  WithoutTheLayer([](const Host& host, const FileOperations&) {
    char* const given = static_cast<char*>(std::malloc(4));
    std::memcpy(given, "text", 4);
    errno = 0;
    EXPECT_EQ(host->OpenMessageFromMemory(given, 4, false), nullptr);
    EXPECT_EQ(std::string(given, 4), "text");
    std::free(given);
    EXPECT_TRUE(std::filesystem::is_empty(".")) << "the name is removed";
  });
}

TEST(PlainMode, TakesTheContentsOfDiskFiles) {
  WithoutTheLayer([](const Host& host, const FileOperations&) {
    WriteDisk("m", kPlain);
    char* buffer = nullptr;
    EXPECT_EQ(host->CloseMessage(host->OpenMessage("m"), &buffer, false),
              static_cast<std::int64_t>(sizeof kPlain - 1));
    EXPECT_STREQ(buffer, kPlain);
    host->ReleaseControl(kReleaseBuffer, buffer);
    EXPECT_FALSE(OnDisk("m"));
    WriteDisk("empty", "");
    char marker = 0;
    buffer = &marker;
    EXPECT_EQ(host->CloseMessage(host->OpenMessage("empty"), &buffer, false), -1);
    EXPECT_EQ(buffer, &marker);
    EXPECT_TRUE(OnDisk("empty"));
  });
}

TEST(PlainMode, AppliesFooters) {
  WithoutTheLayer([](const Host& host, const FileOperations&) {
    EXPECT_EQ(host.WithFooter(kPlain, "S"), "Subject: one\r\n\r\nbody\r\n\r\nS\r\n\r\n");
    EXPECT_TRUE(std::filesystem::is_empty("."));
  });
}

}  // namespace
}  // namespace zevka::test
