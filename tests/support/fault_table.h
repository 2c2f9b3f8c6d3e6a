// Makes file operations fail on purpose: wraps whatever entries are in the table of file operations
// and fails the n-th call of one of them, once or from then on; all calls are counted.
//
//     FaultTable faults;
//     for (int n = 1;; ++n) {
//       faults.FailOnce(FileEntry::kWrite, n);
//       ... do the work, check that it failed well ...
//       if (faults.Faults() == 0) break;  // it has fewer than n writes
//     }
//
// A call that fails is not passed on, but for Close, which closes and then says that it failed. It
// sets errno and returns what failure is for that entry: null, -1, 0 items; 1 from Error and Eof.
// The calls with no way to fail (ClearError) are counted only.
//
// Calls inside the file operations themselves do not go through the table and are not seen. One
// FaultTable at a time; it must end before the layer is installed or removed. Any thread may call
// the operations meanwhile.
#ifndef ZEVKA_TESTS_SUPPORT_FAULT_TABLE_H
#define ZEVKA_TESTS_SUPPORT_FAULT_TABLE_H

#include <array>
#include <cerrno>
#include <cstddef>

#include "fileio/file_operations.h"

namespace zevka::test {

// The entries in the order of the table.
enum class FileEntry : std::size_t {
  kGetBuffer,
  kTakeContents,
  kIsOnDisk,
  kCommit,
  kAttachBuffer,
  kLayerShutdown,
  kLayerInit,
  kClearError,
  kEof,
  kError,
  kRename,
  kStat,
  kOpen,
  kClose,
  kRead,
  kRemove,
  kTell,
  kSeek,
  kWrite,
};
inline constexpr std::size_t kFileEntryCount = 19;

class FaultTable {
 public:
  FaultTable();
  ~FaultTable();
  FaultTable(const FaultTable&) = delete;
  FaultTable& operator=(const FaultTable&) = delete;

  // Starts counting anew and fails the n-th call of an entry (1 is the next one); the calls after
  // it go through again.
  void FailOnce(FileEntry entry, int n, int error = EIO);
  // The same, but every later call of the entry fails too.
  void FailFrom(FileEntry entry, int n, int error = EIO);
  // Starts counting anew, and nothing fails.
  void FailNothing();

  // Since the last of the three above: calls of one entry, calls of all, and calls that were
  // failed.
  int Calls(FileEntry entry) const;
  int AllCalls() const;
  int Faults() const;

 private:
  FileOperationTable wrapped_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SUPPORT_FAULT_TABLE_H
