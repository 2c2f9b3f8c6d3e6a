#include "fuzz/support/host_state.h"

#include <sys/stat.h>

#include <cstdlib>
#include <set>
#include <string>
#include <unordered_map>

#include "fileio/file_handle.h"
#include "fileio/memory_budget.h"
#include "fuzz/support/law.h"
#include "fuzz/support/scratch.h"

namespace zevka::fuzz {
namespace {

struct Book {
  FileOperationTable real{};
  std::unordered_map<void*, std::string> open;
  std::set<std::string> names;  // that a file was made under, or given
  std::size_t commits = 0;
};

Book& TheBook() {
  static Book book;
  return book;
}

void LookForOpen(const char* name) {
  for (const auto& [handle, openName] : TheBook().open) {
    Law(openName != name, "no file loses its name while it is open");
  }
}

void* Open(const char* name, const char* mode) {
  void* const handle = TheBook().real.open(name, mode);
  if (handle != nullptr) {
    Law(TheBook().open.emplace(handle, name).second, "no file is opened twice at once");
    TheBook().names.insert(name);
  }
  return handle;
}

int Close(void* handle) {
  Law(TheBook().open.erase(handle) == 1, "only open files are closed");
  return TheBook().real.close(handle);
}

int Remove(const char* name) {
  LookForOpen(name);
  return TheBook().real.remove(name);
}

int Rename(const char* oldName, const char* newName) {
  LookForOpen(oldName);
  LookForOpen(newName);
  TheBook().names.insert(newName);
  return TheBook().real.rename(oldName, newName);
}

int Commit(const char* name) {
  LookForOpen(name);
  ++TheBook().commits;
  return TheBook().real.commit(name);
}

std::int64_t TakeContents(const char* name, char** out) {
  LookForOpen(name);
  return TheBook().real.takeContents(name, out);
}

// Has the budget take back what a file of that capacity used; a number below 0 (as unsigned) uses
// it up instead.
void GiveBack(std::uint64_t bytes) {
  FileHandle holder;
  holder.capacity = bytes;
  DropMemoryData(holder);
}

}  // namespace

HostState::HostState() : wrapped_(CurrentFileOperations()), memoryInUse_(MemoryInUse()) {
  TheBook() = {};
  TheBook().real = wrapped_;
  std::srand(1);
  FileOperationTable& table = CurrentFileOperations();
  table.open = &Open;
  table.close = &Close;
  table.remove = &Remove;
  table.rename = &Rename;
  table.commit = &Commit;
  table.takeContents = &TakeContents;
}

HostState::~HostState() {
  CurrentFileOperations() = wrapped_;
}

void HostState::CheckAllIsBack() const {
  Law(TheBook().open.empty(), "no handle is left open");
  for (const std::string& name : TheBook().names) {
    struct stat status {};
    if (wrapped_.stat(name.c_str(), &status) == 0) {
      Law(false, "no file is left, but this one is: " + name);
    }
  }
  Law(MemoryInUse() == memoryInUse_, "the memory in use is what it was");
  Law(ScratchListing().empty(), "nothing lies on the disk");
}

std::size_t HostState::Commits() const {
  return TheBook().commits;
}

FullBudget::FullBudget(std::uint64_t freeBytes)
    : usedUp_(kMemoryBudgetBytes - MemoryInUse() - freeBytes) {
  GiveBack(0 - usedUp_);
}

FullBudget::~FullBudget() {
  GiveBack(usedUp_);
}

}  // namespace zevka::fuzz
