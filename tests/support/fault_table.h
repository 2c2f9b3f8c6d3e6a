// Makes file operations fail on purpose: wraps whatever entries are in the table of file operations
// and fails the n-th call of one of them, or cuts it short, once or from then on; all calls are
// counted.
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
// A short call of Read or Write passes half of its items on; a single item loses half of its bytes
// and is not counted, as with the C library. Every other entry fails where it was to be short.
//
// On their own, such calls set no error flag: a read then looks like the end of the file. With
// SetErrorFlags, the handle has its error flag set from then on, as a broken disk leaves it, until
// it is cleared, closed or opened again.
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

enum class FaultKind { kFail, kShort };

// What is to go wrong.
struct Fault {
  FileEntry entry = FileEntry::kOpen;
  int n = 1;  // which call of the entry, counted from 1; 1 is the next one
  FaultKind kind = FaultKind::kFail;
  int error = EIO;          // the errno it leaves
  bool fromThenOn = false;  // every later call of the entry too
};

class FaultTable {
 public:
  FaultTable();
  ~FaultTable();
  FaultTable(const FaultTable&) = delete;
  FaultTable& operator=(const FaultTable&) = delete;

  // Starts counting anew, and this goes wrong.
  void Plan(const Fault& fault);
  // The same in short: the n-th call of an entry (1 is the next one) fails, and the calls after it
  // go through again.
  void FailOnce(FileEntry entry, int n, int error = EIO);
  // The same, but every later call of the entry fails too.
  void FailFrom(FileEntry entry, int n, int error = EIO);
  // Starts counting anew, and nothing fails.
  void FailNothing();

  // Whether a failed or short read or write also sets the error flag of its handle; no at first.
  void SetErrorFlags(bool set);

  // Since the last of the four plans above: calls of one entry, calls of all, and calls that were
  // failed or cut short.
  int Calls(FileEntry entry) const;
  int AllCalls() const;
  int Faults() const;

 private:
  FileOperationTable wrapped_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SUPPORT_FAULT_TABLE_H
