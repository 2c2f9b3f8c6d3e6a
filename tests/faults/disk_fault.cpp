#include "tests/faults/disk_fault.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace zevka::test {
namespace {

constexpr std::size_t kPage = 4096;
constexpr ::uid_t kNobody = 65534;

void Expect(bool done, const char* what) {
  if (!done) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
  }
}

class FileSize : public DiskFault {
 public:
  explicit FileSize(std::uint64_t bytes) : bytes_(bytes) {
    ::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before_);
  }
  void Begin() override {
    const ::rlimit limited = {bytes_, before_.rlim_max};
    Expect(::setrlimit(RLIMIT_FSIZE, &limited) == 0, "limiting the size of files");
  }
  void End() override { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  ::rlim_t bytes_;
  ::rlimit before_{};
};

// A file takes what is left of the disk. It is made with the first call and stays between calls, so
// that what is freed in one call can be used in the next.
class FullDisk : public DiskFault {
 public:
  FullDisk(const std::string& folder, int freePages)
      : folder_(folder), filler_(folder + "/filler"), freePages_(freePages) {}
  ~FullDisk() override { FullDisk::Settle(); }

  void Begin() override {
    if (filled_) {
      return;
    }
    filled_ = true;
    const int file = ::open(filler_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
    Expect(file >= 0, "filling the disk");
    const std::vector<char> page(kPage, 'f');
    for (long left = FreePages(); left > freePages_; --left) {
      Expect(::write(file, page.data(), page.size()) == static_cast<ssize_t>(page.size()),
             "filling the disk");
    }
    ::close(file);
  }
  void End() override {}
  bool Settle() override {
    if (filled_) {
      ::unlink(filler_.c_str());
      filled_ = false;
    }
    return true;
  }

 private:
  long FreePages() const {
    struct statvfs disk {};
    Expect(::statvfs(folder_.c_str(), &disk) == 0, "looking at the disk");
    return static_cast<long>(disk.f_bfree * disk.f_bsize / kPage);
  }

  std::string folder_;
  std::string filler_;
  long freePages_;
  bool filled_ = false;
};

class VanishedFolder : public DiskFault {
 public:
  explicit VanishedFolder(const std::string& folder) : folder_(folder), away_(folder + "-away") {}
  void Begin() override {
    Expect(::rename(folder_.c_str(), away_.c_str()) == 0, "taking the folder away");
  }
  bool RemovalFails() const override { return true; }
  void End() override { Expect(::rename(away_.c_str(), folder_.c_str()) == 0, "bringing it back"); }

 private:
  std::string folder_;
  std::string away_;
};

class ReadOnlyFolder : public DiskFault {
 public:
  explicit ReadOnlyFolder(const std::string& folder) : folder_(folder) {}
  void Begin() override {
    Expect(::chmod(folder_.c_str(), S_IRUSR | S_IXUSR | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH) == 0,
           "closing the folder");
    if (::geteuid() == 0) {
      Expect(::seteuid(kNobody) == 0, "giving up rights");
      privileged_ = true;
    }
  }
  bool RemovalFails() const override { return true; }
  void End() override {
    if (privileged_) {
      Expect(::seteuid(0) == 0, "taking rights back");
      privileged_ = false;
    }
    Expect(::chmod(folder_.c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH) == 0,
           "opening the folder");
  }

 private:
  std::string folder_;
  bool privileged_ = false;
};

}  // namespace

std::unique_ptr<DiskFault> FileSizeFault(std::uint64_t bytes) {
  return std::make_unique<FileSize>(bytes);
}

std::unique_ptr<DiskFault> FullDiskFault(const std::string& folder, int freePages) {
  return std::make_unique<FullDisk>(folder, freePages);
}

std::unique_ptr<DiskFault> VanishedFolderFault(const std::string& folder) {
  return std::make_unique<VanishedFolder>(folder);
}

std::unique_ptr<DiskFault> ReadOnlyFolderFault(const std::string& folder) {
  return std::make_unique<ReadOnlyFolder>(folder);
}

std::optional<std::string> MountSmallDisk(const std::string& folder, int pages) {
  if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
    return std::string("no mounts of its own for a process: ") + std::strerror(errno);
  }
  // What is mounted here is nobody else's business.
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return std::string("mounts stay shared: ") + std::strerror(errno);
  }
  const std::string size = "size=" + std::to_string(static_cast<std::size_t>(pages) * kPage);
  if (::mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) != 0) {
    return std::string("cannot mount: ") + std::strerror(errno);
  }
  return std::nullopt;
}

}  // namespace zevka::test
