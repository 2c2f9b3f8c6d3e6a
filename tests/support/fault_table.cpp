#include "tests/support/fault_table.h"

#include <atomic>
#include <limits>
#include <mutex>
#include <set>

namespace zevka::test {
namespace {

constexpr int kNever = std::numeric_limits<int>::max();

// The entries are plain functions, so what they need lies here.
struct State {
  FileOperationTable real{};
  std::array<std::atomic<int>, kFileEntryCount> calls{};
  std::atomic<int> faults = 0;
  FileEntry entry = FileEntry::kOpen;
  FaultKind kind = FaultKind::kFail;
  int firstBad = kNever;
  int lastBad = 0;
  int error = 0;
  bool setsFlags = false;
  std::mutex flaggedMutex;
  std::set<void*> flagged;  // handles whose error flag is set
};

State state;

// Counts a call; true, with errno set, when it is to fail.
bool Fails(FileEntry entry) {
  const int call = ++state.calls[static_cast<std::size_t>(entry)];
  if (entry != state.entry || call < state.firstBad || call > state.lastBad) {
    return false;
  }
  ++state.faults;
  errno = state.error;
  return true;
}

void Start(const Fault& fault, int lastBad) {
  for (std::atomic<int>& calls : state.calls) {
    calls = 0;
  }
  state.faults = 0;
  state.entry = fault.entry;
  state.kind = fault.kind;
  state.firstBad = fault.n;
  state.lastBad = lastBad;
  state.error = fault.error;
}

void Flag(void* handle) {
  if (state.setsFlags) {
    const std::lock_guard guard(state.flaggedMutex);
    state.flagged.insert(handle);
  }
}

void Unflag(void* handle) {
  const std::lock_guard guard(state.flaggedMutex);
  state.flagged.erase(handle);
}

bool IsFlagged(void* handle) {
  const std::lock_guard guard(state.flaggedMutex);
  return state.flagged.count(handle) != 0;
}

// A read or write that fails, or half of it, passed on by `pass`.
template <typename Pass>
std::size_t FailItems(std::size_t itemSize, std::size_t itemCount, void* handle, const Pass& pass) {
  Flag(handle);
  std::size_t done = 0;
  if (state.kind == FaultKind::kShort && itemCount > 1) {
    done = pass(itemSize, itemCount / 2);
  } else if (state.kind == FaultKind::kShort && itemSize > 1) {
    static_cast<void>(pass(1, itemSize / 2));
  }
  errno = state.error;
  return done;
}

void* GetBuffer(const char* name) {
  return Fails(FileEntry::kGetBuffer) ? nullptr : state.real.getBuffer(name);
}

std::int64_t TakeContents(const char* name, char** out) {
  return Fails(FileEntry::kTakeContents) ? -1 : state.real.takeContents(name, out);
}

int IsOnDisk(const char* name) {
  return Fails(FileEntry::kIsOnDisk) ? -1 : state.real.isOnDisk(name);
}

int Commit(const char* name) {
  return Fails(FileEntry::kCommit) ? -1 : state.real.commit(name);
}

int AttachBuffer(void* handle, void* buffer, std::uint64_t sizeBytes) {
  return Fails(FileEntry::kAttachBuffer) ? -1 : state.real.attachBuffer(handle, buffer, sizeBytes);
}

int LayerShutdown() {
  return Fails(FileEntry::kLayerShutdown) ? -1 : state.real.layerShutdown();
}

int LayerInit() {
  return Fails(FileEntry::kLayerInit) ? -1 : state.real.layerInit();
}

void ClearError(void* handle) {
  ++state.calls[static_cast<std::size_t>(FileEntry::kClearError)];
  Unflag(handle);
  state.real.clearError(handle);
}

int Eof(void* handle) {
  return Fails(FileEntry::kEof) ? 1 : state.real.eof(handle);
}

int Error(void* handle) {
  return Fails(FileEntry::kError) || IsFlagged(handle) ? 1 : state.real.error(handle);
}

int Rename(const char* oldName, const char* newName) {
  return Fails(FileEntry::kRename) ? -1 : state.real.rename(oldName, newName);
}

int Stat(const char* name, struct stat* out) {
  return Fails(FileEntry::kStat) ? -1 : state.real.stat(name, out);
}

void* Open(const char* name, const char* mode) {
  if (Fails(FileEntry::kOpen)) {
    return nullptr;
  }
  void* const handle = state.real.open(name, mode);
  Unflag(handle);
  return handle;
}

int Close(void* handle) {
  Unflag(handle);
  if (!Fails(FileEntry::kClose)) {
    return state.real.close(handle);
  }
  state.real.close(handle);
  errno = state.error;
  return -1;
}

std::size_t Read(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
  if (!Fails(FileEntry::kRead)) {
    return state.real.read(buffer, itemSize, itemCount, handle);
  }
  return FailItems(itemSize, itemCount, handle, [&](std::size_t size, std::size_t count) {
    return state.real.read(buffer, size, count, handle);
  });
}

int Remove(const char* name) {
  return Fails(FileEntry::kRemove) ? -1 : state.real.remove(name);
}

std::int64_t Tell(void* handle) {
  return Fails(FileEntry::kTell) ? -1 : state.real.tell(handle);
}

int Seek(void* handle, std::int64_t offset, int whence) {
  return Fails(FileEntry::kSeek) ? -1 : state.real.seek(handle, offset, whence);
}

std::size_t Write(const void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
  if (!Fails(FileEntry::kWrite)) {
    return state.real.write(buffer, itemSize, itemCount, handle);
  }
  return FailItems(itemSize, itemCount, handle, [&](std::size_t size, std::size_t count) {
    return state.real.write(buffer, size, count, handle);
  });
}

constexpr FileOperationTable kFaultyEntries = {
    .getBuffer = &GetBuffer,
    .takeContents = &TakeContents,
    .isOnDisk = &IsOnDisk,
    .commit = &Commit,
    .attachBuffer = &AttachBuffer,
    .layerShutdown = &LayerShutdown,
    .layerInit = &LayerInit,
    .clearError = &ClearError,
    .eof = &Eof,
    .error = &Error,
    .rename = &Rename,
    .stat = &Stat,
    .open = &Open,
    .close = &Close,
    .read = &Read,
    .remove = &Remove,
    .tell = &Tell,
    .seek = &Seek,
    .write = &Write,
};

}  // namespace

FaultTable::FaultTable() : wrapped_(CurrentFileOperations()) {
  state.real = wrapped_;
  state.setsFlags = false;
  state.flagged.clear();
  FailNothing();
  CurrentFileOperations() = kFaultyEntries;
}

FaultTable::~FaultTable() {
  CurrentFileOperations() = wrapped_;
}

void FaultTable::Plan(const Fault& fault) {
  Start(fault, fault.fromThenOn ? kNever : fault.n);
}

void FaultTable::FailOnce(FileEntry entry, int n, int error) {
  Plan({.entry = entry, .n = n, .error = error});
}

void FaultTable::FailFrom(FileEntry entry, int n, int error) {
  Plan({.entry = entry, .n = n, .error = error, .fromThenOn = true});
}

void FaultTable::FailNothing() {
  Start({.n = kNever}, 0);
}

void FaultTable::SetErrorFlags(bool set) {
  state.setsFlags = set;
}

int FaultTable::Calls(FileEntry entry) const {
  return state.calls[static_cast<std::size_t>(entry)];
}

int FaultTable::AllCalls() const {
  int sum = 0;
  for (const std::atomic<int>& calls : state.calls) {
    sum += calls;
  }
  return sum;
}

int FaultTable::Faults() const {
  return state.faults;
}

}  // namespace zevka::test
