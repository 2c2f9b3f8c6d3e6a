// Ways in which a disk lets its programs down, to be switched on for the calls of one process: no
// file may grow beyond a size, no space is left, the folder is gone, the folder cannot be written.
// For child processes.
#ifndef ZEVKA_TESTS_FAULTS_DISK_FAULT_H
#define ZEVKA_TESTS_FAULTS_DISK_FAULT_H

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>

namespace zevka::test {

// Something wrong with the disk that holds a folder, between Begin and End, which follow each other
// any number of times.
class DiskFault {
 public:
  DiskFault() = default;
  virtual ~DiskFault() = default;
  DiskFault(const DiskFault&) = delete;
  DiskFault& operator=(const DiskFault&) = delete;

  virtual void Begin() = 0;
  virtual void End() = 0;
  // Whether files cannot be removed either.
  virtual bool RemovalFails() const { return false; }
  // Ends what lasts longer than a call. False when nothing can have gone wrong since the last
  // Settle, if that is known.
  virtual bool Settle() { return true; }
};

// No file grows beyond that many bytes: EFBIG.
std::unique_ptr<DiskFault> FileSizeFault(std::uint64_t bytes);

// The folder lies on a disk of its own that has `freePages` pages left once a call was made:
// ENOSPC.
std::unique_ptr<DiskFault> FullDiskFault(const std::string& folder, int freePages);

// The folder has another name: ENOENT.
std::unique_ptr<DiskFault> VanishedFolderFault(const std::string& folder);

// Nothing may be made or removed in the folder: EACCES. A privileged process gives up its rights
// for the time.
std::unique_ptr<DiskFault> ReadOnlyFolderFault(const std::string& folder);

// Puts a small disk of its own under a folder, for this process and its children only. Why it could
// not, or nothing.
std::optional<std::string> MountSmallDisk(const std::string& folder, int pages);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_DISK_FAULT_H
