#include "tests/support/fault_table.h"

#include <atomic>
#include <limits>

namespace zevka::test {
namespace {

constexpr int kNever = std::numeric_limits<int>::max();

// The entries are plain functions, so what they need lies here.
struct State {
  FileOperationTable real{};
  std::array<std::atomic<int>, kFileEntryCount> calls{};
  std::atomic<int> faults = 0;
  FileEntry entry = FileEntry::kOpen;
  int firstBad = kNever;
  int lastBad = 0;
  int error = 0;
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

void Plan(FileEntry entry, int firstBad, int lastBad, int error) {
  for (std::atomic<int>& calls : state.calls) {
    calls = 0;
  }
  state.faults = 0;
  state.entry = entry;
  state.firstBad = firstBad;
  state.lastBad = lastBad;
  state.error = error;
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
  state.real.clearError(handle);
}

int Eof(void* handle) {
  return Fails(FileEntry::kEof) ? 1 : state.real.eof(handle);
}

int Error(void* handle) {
  return Fails(FileEntry::kError) ? 1 : state.real.error(handle);
}

int Rename(const char* oldName, const char* newName) {
  return Fails(FileEntry::kRename) ? -1 : state.real.rename(oldName, newName);
}

int Stat(const char* name, struct stat* out) {
  return Fails(FileEntry::kStat) ? -1 : state.real.stat(name, out);
}

void* Open(const char* name, const char* mode) {
  return Fails(FileEntry::kOpen) ? nullptr : state.real.open(name, mode);
}

int Close(void* handle) {
  if (!Fails(FileEntry::kClose)) {
    return state.real.close(handle);
  }
  state.real.close(handle);
  errno = state.error;
  return -1;
}

std::size_t Read(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
  return Fails(FileEntry::kRead) ? 0 : state.real.read(buffer, itemSize, itemCount, handle);
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
  return Fails(FileEntry::kWrite) ? 0 : state.real.write(buffer, itemSize, itemCount, handle);
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
  FailNothing();
  CurrentFileOperations() = kFaultyEntries;
}

FaultTable::~FaultTable() {
  CurrentFileOperations() = wrapped_;
}

void FaultTable::FailOnce(FileEntry entry, int n, int error) {
  Plan(entry, n, n, error);
}

void FaultTable::FailFrom(FileEntry entry, int n, int error) {
  Plan(entry, n, kNever, error);
}

void FaultTable::FailNothing() {
  Plan(FileEntry::kOpen, kNever, 0, 0);
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
