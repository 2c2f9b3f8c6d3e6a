#include "host/safe_edit/replace_file.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/new_file.h"

namespace zevka::host {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;
constexpr std::string_view kOld = "Subject: Hi\n\nHello.\n";
constexpr std::string_view kNew = "Subject: Hi\n\nHello.\nA footer.\n";
constexpr std::string_view kTheirs = "Subject: Hi\n\nHallo!\n";  // as long as the old message

void Put(const fs::path& path, std::string_view bytes, mode_t mode = 0644) {
  std::ofstream(path, std::ios::binary) << bytes;
  ::chmod(path.c_str(), mode);
}

std::string Get(const fs::path& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

struct stat StatusOf(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

mode_t ModeOf(const fs::path& path) {
  return StatusOf(path).st_mode & 07777U;
}

void SetTimes(const fs::path& path, time_t access, time_t change) {
  const std::array<timespec, 2> times = {timespec{.tv_sec = access, .tv_nsec = 5},
                                         timespec{.tv_sec = change, .tv_nsec = 7}};
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0), 0);
}

std::vector<std::string> Names(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// How a call failed; kNone when it did not.
enum class Ending : int { kNone, kRead, kCreate, kWrite, kAgain, kOther };

Ending EndingOf(const std::function<void()>& call, std::string* reason = nullptr) {
  try {
    call();
    return Ending::kNone;
  } catch (const DiskFailure& failure) {
    if (reason != nullptr) {
      *reason = failure.what();
    }
    switch (failure.Trouble()) {
      case DiskTrouble::kCannotRead:
        return Ending::kRead;
      case DiskTrouble::kCannotCreate:
        return Ending::kCreate;
      case DiskTrouble::kCannotWrite:
        return Ending::kWrite;
      case DiskTrouble::kTryAgain:
        return Ending::kAgain;
    }
  } catch (...) {
  }
  return Ending::kOther;
}

// What `call` ends with in a process of its own, in which `prepare` may give up rights.
Ending EndingInChild(const std::function<bool()>& prepare, const std::function<void()>& call) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(static_cast<int>(prepare() ? EndingOf(call) : Ending::kOther));
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? static_cast<Ending>(WEXITSTATUS(status)) : Ending::kOther;
}

bool BecomeNobody() {
  return ::geteuid() != 0 ||
         (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
}

// Has the system say that it does not know how to exchange files.
bool ForgetExchange() {
  std::array<sock_filter, 4> program = {
      sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_renameat2, 0, 1),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog filter{.len = program.size(), .filter = program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// An access control list: the owner rw-, the user nobody, the group r--, bounds, others ---.
std::string AccessList(char nobodysRights, char bounds) {
  constexpr std::uint32_t kNoId = 0xFFFFFFFF;
  std::string list("\2\0\0\0", 4);
  const auto add = [&](char tag, char rights, std::uint32_t id) {
    list += std::string{tag, '\0', rights, '\0'};
    for (unsigned shift = 0; shift < 32; shift += 8) {
      list += static_cast<char>(static_cast<unsigned char>(id >> shift));
    }
  };
  add(0x01, 6, kNoId);
  add(0x02, nobodysRights, kNobody);
  add(0x04, 4, kNoId);
  add(0x10, bounds, kNoId);
  add(0x20, 0, kNoId);
  return list;
}

std::string AttributeOf(const fs::path& path, const char* name) {
  std::array<char, 256> value{};
  const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
  return size < 0 ? "" : std::string(value.data(), static_cast<std::size_t>(size));
}

bool SetAttribute(const fs::path& path, const char* name, const std::string& value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

// A folder with an old message in it.
class ReplaceFileTest : public testing::Test {
 protected:
  ReplaceFileTest() {
    std::string made = (fs::temp_directory_path() / "zevka-replace-XXXXXX").string();
    EXPECT_NE(::mkdtemp(made.data()), nullptr);
    folder_ = made;
    ::chmod(folder_.c_str(), 0755);
    message_ = folder_ / "mail.eml";
    Put(message_, kOld);
  }
  ~ReplaceFileTest() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  // Makes a Maildir with the message in one of its folders.
  void MakeMaildir(const std::string& folder, const std::string& name) {
    for (const char* each : {"cur", "new", "tmp"}) {
      fs::create_directory(folder_ / each);
    }
    fs::rename(message_, folder_ / folder / name);
    message_ = folder_ / folder / name;
  }

  void ExpectOnlyMessage() const {
    EXPECT_EQ(Names(folder_), std::vector<std::string>{"mail.eml"});
  }

  fs::path folder_;
  fs::path message_;
};

TEST_F(ReplaceFileTest, GivesTheFileNewBytesAndKeepsModeAndTimes) {
  ::chmod(message_.c_str(), 0604);
  SetTimes(message_, 1000000, 2000000);
  EXPECT_EQ(ReplaceFile(ReadOriginal(message_), kNew), message_);
  EXPECT_EQ(Get(message_), kNew);
  const auto status = StatusOf(message_);
  EXPECT_EQ(status.st_mode & 07777U, 0604U);
  EXPECT_EQ(status.st_mtim.tv_sec, 2000000);
  EXPECT_EQ(status.st_mtim.tv_nsec, 7);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, KeepsTheTimeOfTheAccessBeforeItsOwn) {
  SetTimes(message_, 1000000, 2000000);
  const auto original = ReadOriginal(message_);
  ReplaceFile(original, kNew);
  EXPECT_EQ(StatusOf(message_).st_atim.tv_sec, 1000000);
}

TEST_F(ReplaceFileTest, KeepsOwnerGroupAndTheirBits) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root may give files away";
  }
  ASSERT_EQ(::chown(message_.c_str(), 1234, 2345), 0);
  ::chmod(message_.c_str(), 06750);
  ReplaceFile(ReadOriginal(message_), kNew);
  const auto status = StatusOf(message_);
  EXPECT_EQ(status.st_uid, 1234U);
  EXPECT_EQ(status.st_gid, 2345U);
  EXPECT_EQ(status.st_mode & 07777U, 06750U);
}

TEST_F(ReplaceFileTest, LendsNobodysRightsWhenTheOwnerCannotBeKept) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root may become another user";
  }
  ::chmod(folder_.c_str(), 0777);
  ::chmod(message_.c_str(), 06676);
  EXPECT_EQ(EndingInChild(BecomeNobody, [&] { ReplaceFile(ReadOriginal(message_), kNew); }),
            Ending::kNone);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_EQ(StatusOf(message_).st_uid, kNobody);
  // Nobody's group gets no more of it than everybody.
  EXPECT_EQ(ModeOf(message_), 0666U);
}

TEST_F(ReplaceFileTest, FollowsALinkAndLeavesItALink) {
  fs::create_directory(folder_ / "links");
  fs::create_symlink("../mail.eml", folder_ / "links" / "mail");
  EXPECT_EQ(ReplaceFile(ReadOriginal(folder_ / "links" / "mail"), kNew), message_);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_TRUE(fs::is_symlink(folder_ / "links" / "mail"));
}

TEST_F(ReplaceFileTest, LeavesTheOldMessageToItsOtherNames) {
  fs::create_hard_link(message_, folder_ / "other");
  ReplaceFile(ReadOriginal(message_), kNew);
  EXPECT_EQ(Get(folder_ / "other"), kOld);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_EQ(StatusOf(folder_ / "other").st_nlink, 1U);
}

TEST_F(ReplaceFileTest, KeepsAttributesOfUsers) {
  if (!SetAttribute(message_, "user.note", "seen")) {
    GTEST_SKIP() << "no extended attributes here";
  }
  ReplaceFile(ReadOriginal(message_), kNew);
  EXPECT_EQ(AttributeOf(message_, "user.note"), "seen");
}

TEST_F(ReplaceFileTest, KeepsTheAccessControlList) {
  const std::string list = AccessList(4, 4);
  if (!SetAttribute(message_, "system.posix_acl_access", list)) {
    GTEST_SKIP() << "no access control lists here";
  }
  ReplaceFile(ReadOriginal(message_), kNew);
  EXPECT_EQ(AttributeOf(message_, "system.posix_acl_access"), list);
  EXPECT_EQ(ModeOf(message_), 0640U);
}

TEST_F(ReplaceFileTest, TakesNoRightsFromTheFolder) {
  if (!SetAttribute(folder_, "system.posix_acl_default", AccessList(6, 6))) {
    GTEST_SKIP() << "no access control lists here";
  }
  ::chmod(message_.c_str(), 0660);
  ReplaceFile(ReadOriginal(message_), kNew);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_EQ(AttributeOf(message_, "system.posix_acl_access"), "");
  EXPECT_EQ(ModeOf(message_), 0660U);
}

TEST_F(ReplaceFileTest, LeavesAFileThatChangedMeanwhile) {
  const std::vector<std::function<void()>> changes = {
      [&] { Put(message_, "Subject: Longer\n\nHello again.\n"); },
      [&] { SetTimes(message_, 3000000, 3000000); },
      [&] { ::chmod(message_.c_str(), 0600); },
      [&] {
        Put(folder_ / "theirs", kTheirs);
        SetTimes(folder_ / "theirs", 1000000, 2000000);
        fs::rename(folder_ / "theirs", message_);
      },
      // Bytes of the same length under the same times.
      [&] {
        Put(message_, kTheirs);
        SetTimes(message_, 1000000, 2000000);
      },
      [&] {
        fs::rename(message_, folder_ / "real");
        fs::create_symlink("real", message_);
      },
  };
  for (std::size_t index = 0; index < changes.size(); ++index) {
    fs::remove(message_);
    fs::remove(folder_ / "real");
    Put(message_, kOld);
    SetTimes(message_, 1000000, 2000000);
    const auto original = ReadOriginal(message_);
    changes[index]();
    const std::string theirs = Get(message_);
    const auto names = Names(folder_);
    std::string reason;
    EXPECT_EQ(EndingOf([&] { ReplaceFile(original, kNew); }, &reason), Ending::kAgain) << index;
    EXPECT_EQ(reason, "was changed by somebody else meanwhile");
    EXPECT_EQ(Get(message_), theirs) << index;
    EXPECT_EQ(Names(folder_), names) << index;
  }
}

TEST_F(ReplaceFileTest, DoesNotMakeAVanishedFileAgain) {
  const auto original = ReadOriginal(message_);
  fs::remove(message_);
  EXPECT_EQ(EndingOf([&] { ReplaceFile(original, kNew); }), Ending::kAgain);
  EXPECT_EQ(Names(folder_), std::vector<std::string>{});
  fs::remove(folder_);
  EXPECT_EQ(EndingOf([&] { ReplaceFile(original, kNew); }), Ending::kAgain);
}

TEST_F(ReplaceFileTest, LeavesAFileThatAnotherProgramHasLocked) {
  const Descriptor other(::open(message_.c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(other.Number(), LOCK_SH), 0);
  const auto original = ReadOriginal(message_);
  EXPECT_EQ(EndingOf([&] { ReplaceFile(original, kNew); }), Ending::kAgain);
  EXPECT_EQ(Get(message_), kOld);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, NeedsTheRightToWriteToFileAndFolder) {
  const auto replace = [&] { ReplaceFile(ReadOriginal(message_), kNew); };
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(message_.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(::chown(folder_.c_str(), kNobody, kNobody), 0);
  }
  ::chmod(message_.c_str(), 0400);
  EXPECT_EQ(EndingInChild(BecomeNobody, replace), Ending::kCreate);
  ::chmod(message_.c_str(), 0600);
  ::chmod(folder_.c_str(), 0555);
  EXPECT_EQ(EndingInChild(BecomeNobody, replace), Ending::kCreate);
  ExpectOnlyMessage();
  EXPECT_EQ(Get(message_), kOld);
  ::chmod(folder_.c_str(), 0755);
  EXPECT_EQ(EndingInChild(BecomeNobody, replace), Ending::kNone);
  EXPECT_EQ(Get(message_), kNew);
}

TEST_F(ReplaceFileTest, LeavesTheFileWhenTheNewOneDoesNotFit) {
  constexpr rlim_t kMostBytes = 4096;
  const auto limit = [] {
    const rlimit most{.rlim_cur = kMostBytes, .rlim_max = kMostBytes};
    return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && ::setrlimit(RLIMIT_FSIZE, &most) == 0;
  };
  const std::string large(kMostBytes + 1, 'x');
  const auto replace = [&] { ReplaceFile(ReadOriginal(message_), large); };
  EXPECT_EQ(EndingInChild(limit, replace), Ending::kWrite);
  EXPECT_EQ(Get(message_), kOld);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, WorksWhereFilesCannotBeExchanged) {
  const auto replace = [&] { ReplaceFile(ReadOriginal(message_), kNew); };
  ::chmod(message_.c_str(), 0640);
  EXPECT_EQ(EndingInChild(ForgetExchange, replace), Ending::kNone);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_EQ(ModeOf(message_), 0640U);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, LooksAtTheBytesAgainAlsoWhereFilesCannotBeExchanged) {
  SetTimes(message_, 1000000, 2000000);
  const auto original = ReadOriginal(message_);
  Put(message_, kTheirs);
  SetTimes(message_, 1000000, 2000000);
  EXPECT_EQ(EndingInChild(ForgetExchange, [&] { ReplaceFile(original, kNew); }), Ending::kAgain);
  EXPECT_EQ(Get(message_), kTheirs);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, WritesInTheMaildirsOwnFolderForThat) {
  MakeMaildir("cur", "1.M2P3.host,S=19:2,S");
  if (::geteuid() == 0) {
    for (const fs::path& path : {message_, folder_ / "cur", folder_ / "tmp"}) {
      ASSERT_EQ(::chown(path.c_str(), kNobody, kNobody), 0);
    }
  }
  const auto replace = [&] { ReplaceFile(ReadOriginal(message_), kNew); };
  ::chmod((folder_ / "tmp").c_str(), 0555);
  EXPECT_EQ(EndingInChild(BecomeNobody, replace), Ending::kCreate);
  ::chmod((folder_ / "tmp").c_str(), 0755);
  EXPECT_EQ(EndingInChild(BecomeNobody, replace), Ending::kNone);
  EXPECT_EQ(Get(message_), kNew);
  EXPECT_EQ(Names(folder_ / "cur"), std::vector<std::string>{"1.M2P3.host,S=19:2,S"});
  EXPECT_EQ(Names(folder_ / "tmp"), std::vector<std::string>{});
}

TEST_F(ReplaceFileTest, FollowsAMessageWithinItsMaildir) {
  MakeMaildir("new", "1.M2P3.host");
  auto original = ReadOriginal(message_);
  Put(folder_ / "cur" / "1.M2P3.hostile:2,", kTheirs);
  fs::rename(message_, folder_ / "cur" / "1.M2P3.host:2,S");
  EXPECT_EQ(ReplaceFile(original, kNew), folder_ / "cur" / "1.M2P3.host:2,S");
  EXPECT_EQ(Get(folder_ / "cur" / "1.M2P3.host:2,S"), kNew);

  original = ReadOriginal(folder_ / "cur" / "1.M2P3.host:2,S");
  fs::rename(original.path, folder_ / "cur" / "1.M2P3.host:2,RS");
  EXPECT_EQ(ReplaceFile(original, kOld), folder_ / "cur" / "1.M2P3.host:2,RS");
  EXPECT_EQ(Get(folder_ / "cur" / "1.M2P3.host:2,RS"), kOld);
  EXPECT_EQ(Names(folder_ / "new"), std::vector<std::string>{});
  EXPECT_EQ(Names(folder_ / "cur"),
            (std::vector<std::string>{"1.M2P3.host:2,RS", "1.M2P3.hostile:2,"}));
}

TEST_F(ReplaceFileTest, TakesNoOtherFileForAMovedMessage) {
  MakeMaildir("cur", "1.M2P3.host:2,");
  const auto original = ReadOriginal(message_);
  // Held by another name, so that the inode is not used again.
  fs::rename(message_, folder_ / "kept");
  Put(folder_ / "cur" / "1.M2P3.host:2,S", kTheirs);
  EXPECT_EQ(EndingOf([&] { ReplaceFile(original, kNew); }), Ending::kAgain);
  EXPECT_EQ(Get(folder_ / "cur" / "1.M2P3.host:2,S"), kTheirs);
}

TEST_F(ReplaceFileTest, AFolderNamedLikeAMaildirsIsAPlainFolder) {
  fs::create_directory(folder_ / "cur");
  fs::rename(message_, folder_ / "cur" / "mail.eml");
  ReplaceFile(ReadOriginal(folder_ / "cur" / "mail.eml"), kNew);
  EXPECT_EQ(Get(folder_ / "cur" / "mail.eml"), kNew);
  EXPECT_EQ(Names(folder_ / "cur"), std::vector<std::string>{"mail.eml"});
}

TEST_F(ReplaceFileTest, OneOfManyThreadsWinsAndNoneTakesAnothersFileForALeftover) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 25;
  std::vector<std::thread> threads;
  std::array<int, kThreads> done{};
  for (std::size_t index = 0; index < kThreads; ++index) {
    threads.emplace_back([&, index] {
      for (int round = 0; round < kRounds; ++round) {
        RemoveLeftovers(folder_);
        const Ending ending = EndingOf([&] {
          const auto original = ReadOriginal(message_);
          ReplaceFile(original, original.bytes + "x");
        });
        EXPECT_TRUE(ending == Ending::kNone || ending == Ending::kAgain)
            << static_cast<int>(ending);
        done.at(index) += ending == Ending::kNone ? 1 : 0;
      }
    });
  }
  int all = 0;
  for (std::size_t index = 0; index < kThreads; ++index) {
    threads[index].join();
    all += done.at(index);
  }
  // Each change that was said to be done is there, once.
  EXPECT_EQ(Get(message_), std::string(kOld) += std::string(static_cast<std::size_t>(all), 'x'));
  EXPECT_GT(all, 0);
  ExpectOnlyMessage();
}

TEST_F(ReplaceFileTest, ReadsRegularFilesOnly) {
  EXPECT_EQ(ReadOriginal(message_).bytes, kOld);
  ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0644), 0);
  for (const char* name : {".", "pipe", "missing", "mail.eml/below"}) {
    EXPECT_EQ(EndingOf([&] { ReadOriginal(folder_ / name); }), Ending::kRead) << name;
  }
}

TEST(DiskFailure, TellsWhatWillPass) {
  EXPECT_EQ(DiskFailure(DiskTrouble::kCannotWrite, EIO).Trouble(), DiskTrouble::kCannotWrite);
  for (const int error : {ENOSPC, EDQUOT, EAGAIN, EMFILE, ENOMEM}) {
    EXPECT_EQ(DiskFailure(DiskTrouble::kCannotWrite, error).Trouble(), DiskTrouble::kTryAgain);
  }
  EXPECT_STREQ(DiskFailure(DiskTrouble::kCannotWrite, EIO, "cannot write").what(),
               "cannot write: Input/output error");
}

using LeftoversTest = ReplaceFileTest;

TEST_F(LeftoversTest, AreKnownByTheWholeName) {
  for (const char* name : {".zevka-0123456789abcdef.tmp", ".zevka-0123456789abcdef-1f-0.tmp"}) {
    EXPECT_TRUE(IsLeftoverName(name)) << name;
  }
  for (const char* name :
       {"", ".zevka-.tmp", ".zevka-0123456789abcde.tmp", ".zevka-0123456789abcdef0.tmp",
        ".zevka-0123456789ABCDEF.tmp", "zevka-0123456789abcdef.tmp", ".zevka-0123456789abcdef.tmp~",
        ".zevka-0123456789abcdef-1.tmp", ".zevka-0123456789abcdef--1.tmp",
        ".zevka-0123456789abcdef-1-.tmp", ".zevka-0123456789abcdef-01-1.tmp",
        ".zevka-0123456789abcdef-1-2-3.tmp", ".zevka-0123456789abcdef-1-0x2.tmp",
        ".zevka-0123456789abcdef-1-10000000000000000.tmp", ".zevka-0123456789abcdef-1- 2.tmp"}) {
    EXPECT_FALSE(IsLeftoverName(name)) << name;
  }
  EXPECT_TRUE(IsLeftoverName(NewDraftName()));
  EXPECT_NE(NewDraftName(), NewDraftName());
  EXPECT_EQ(ExchangeName(".zevka-0123456789abcdef.tmp", 31, 10),
            ".zevka-0123456789abcdef-1f-a.tmp");
}

TEST_F(LeftoversTest, OfDeadProcessesGoAndOthersStay) {
  const std::string dead = ".zevka-00000000000000aa.tmp";
  const std::string living = ".zevka-00000000000000bb.tmp";
  Put(folder_ / dead, kOld);
  Put(folder_ / living, kOld);
  Put(folder_ / "zevka.tmp", kOld);
  fs::create_symlink("mail.eml", folder_ / ".zevka-00000000000000cc.tmp");
  fs::create_directory(folder_ / ".zevka-00000000000000dd.tmp");
  ASSERT_EQ(::mkfifo((folder_ / ".zevka-00000000000000ee.tmp").c_str(), 0644), 0);
  Descriptor owner(::open((folder_ / living).c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(TryLock(owner.Number()), LockResult::kLocked);

  auto names = Names(folder_);
  EXPECT_EQ(RemoveLeftovers(folder_), 1U);
  std::erase(names, dead);
  EXPECT_EQ(Names(folder_), names);
  owner.Close();
  EXPECT_EQ(RemoveLeftovers(folder_), 1U);
  std::erase(names, living);
  EXPECT_EQ(Names(folder_), names);
}

TEST_F(LeftoversTest, OfAnExchangeGoOnlyWhenTheyAreOneOfItsTwoFiles) {
  const std::string draft = ".zevka-00000000000000aa.tmp";
  const auto put = [&](const std::function<std::string(ino_t)>& nameFor) {
    Put(folder_ / draft, kTheirs);
    fs::rename(folder_ / draft, folder_ / nameFor(StatusOf(folder_ / draft).st_ino));
  };
  put([&](ino_t inode) { return ExchangeName(draft, inode, 1); });
  EXPECT_EQ(RemoveLeftovers(folder_), 1U);
  put([&](ino_t inode) { return ExchangeName(draft, 1, inode); });
  EXPECT_EQ(RemoveLeftovers(folder_), 1U);
  ExpectOnlyMessage();
  put([&](ino_t) { return ExchangeName(draft, 1, 2); });
  EXPECT_EQ(RemoveLeftovers(folder_), 0U);
  EXPECT_EQ(Get(folder_ / ExchangeName(draft, 1, 2)), kTheirs);
}

TEST_F(LeftoversTest, OfAMaildirLieInItsFolderForThat) {
  MakeMaildir("cur", "1.M2P3.host:2,");
  const auto fill = [&] {
    Put(folder_ / "tmp" / ".zevka-00000000000000aa.tmp", kOld);
    Put(folder_ / "new" / ".zevka-00000000000000aa.tmp", kOld);
    Put(folder_ / "tmp" / "1.M9P9.host", kOld);
  };
  fill();
  EXPECT_EQ(RemoveLeftovers(folder_ / "cur"), 1U);
  EXPECT_EQ(Names(folder_ / "tmp"), std::vector<std::string>{"1.M9P9.host"});
  fill();
  EXPECT_EQ(RemoveLeftovers((folder_ / "new").string() + "/"), 2U);
  EXPECT_EQ(Names(folder_ / "new"), std::vector<std::string>{});
  EXPECT_EQ(RemoveLeftovers(folder_ / "missing"), 0U);
}

using NewFileTest = ReplaceFileTest;

TEST_F(NewFileTest, IsThereWholeWithTheModeLessTheUmask) {
  const mode_t before = ::umask(027);
  const bool made = WriteFileAtomically(folder_ / "out", kNew, 0666, false);
  ::umask(before);
  EXPECT_TRUE(made);
  EXPECT_EQ(Get(folder_ / "out"), kNew);
  EXPECT_EQ(ModeOf(folder_ / "out"), 0640U);
  EXPECT_EQ(Names(folder_), (std::vector<std::string>{"mail.eml", "out"}));
}

TEST_F(NewFileTest, ReplacesARegularFileOnlyWhenItMay) {
  EXPECT_FALSE(WriteFileAtomically(message_, kNew, 0644, false));
  EXPECT_EQ(Get(message_), kOld);
  EXPECT_TRUE(WriteFileAtomically(message_, kNew, 0644, true));
  EXPECT_EQ(Get(message_), kNew);
  ExpectOnlyMessage();

  fs::create_symlink("mail.eml", folder_ / "link");
  ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0644), 0);
  for (const char* name : {"link", "pipe", "."}) {
    EXPECT_FALSE(WriteFileAtomically(folder_ / name, kOld, 0644, true)) << name;
  }
  EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
  EXPECT_EQ(Get(message_), kNew);
}

TEST_F(NewFileTest, WorksWhereTheSystemCannotKeepItFromReplacing) {
  EXPECT_EQ(EndingInChild(ForgetExchange,
                          [&] {
                            if (!WriteFileAtomically(folder_ / "out", kNew, 0644, false)) {
                              ::_exit(static_cast<int>(Ending::kOther));
                            }
                          }),
            Ending::kNone);
  EXPECT_EQ(Get(folder_ / "out"), kNew);
  EXPECT_EQ(Names(folder_), (std::vector<std::string>{"mail.eml", "out"}));
}

TEST_F(NewFileTest, TellsWhyItCannotBeMade) {
  EXPECT_EQ(EndingOf([&] { WriteFileAtomically(folder_ / "missing" / "out", kNew, 0644, false); }),
            Ending::kCreate);
  const auto write = [&] { WriteFileAtomically(folder_ / "out", kNew, 0644, false); };
  ::chmod(folder_.c_str(), 0555);
  EXPECT_EQ(EndingInChild(BecomeNobody, write), Ending::kCreate);
  ::chmod(folder_.c_str(), 0755);
  EXPECT_EQ(Names(folder_), std::vector<std::string>{"mail.eml"});
}

}  // namespace
}  // namespace zevka::host
