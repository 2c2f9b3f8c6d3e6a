// What one input must leave as it was: the memory that memory files use, the names of files, open
// handles, the disk. Stands before the table of file operations while it lives and keeps book of
// every handle and every name that goes through. The process's random numbers begin anew with it,
// so that an input does the same each time.
//
//     HostState before;
//     ... open, change and end messages, and remove their names ...
//     before.CheckAllIsBack();
//
// One at a time, one thread.
#ifndef ZEVKA_FUZZ_SUPPORT_HOST_STATE_H
#define ZEVKA_FUZZ_SUPPORT_HOST_STATE_H

#include <cstddef>
#include <cstdint>

#include "fileio/file_operations.h"

namespace zevka::fuzz {

class HostState {
 public:
  HostState();
  ~HostState();
  HostState(const HostState&) = delete;
  HostState& operator=(const HostState&) = delete;

  // The laws: no handle is open, no file made meanwhile is left under any name, the memory in use
  // is what it was, and nothing lies in the scratch folder.
  void CheckAllIsBack() const;

  // How often a file was to be brought to disk.
  std::size_t Commits() const;

 private:
  FileOperationTable wrapped_;
  std::uint64_t memoryInUse_;
};

// Uses up the budget of the memory files but for some bytes, without the memory itself.
class FullBudget {
 public:
  //   freeBytes  what is left; at most the whole budget less what is in use
  explicit FullBudget(std::uint64_t freeBytes);
  ~FullBudget();
  FullBudget(const FullBudget&) = delete;
  FullBudget& operator=(const FullBudget&) = delete;

 private:
  std::uint64_t usedUp_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_HOST_STATE_H
