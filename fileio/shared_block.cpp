#include "fileio/shared_block.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "fileio/large_memory.h"

namespace zevka {

// Where the bytes of a block are.
enum class BlockKind {
  kTogether,  // behind the record, in one allocation
  kMalloc,    // in a malloc block
  kLarge,     // in a region of large memory
};

struct SharedBlock {
  SharedBlock(BlockKind itsKind, char* begin, std::uint64_t size, std::uint64_t dirtyEnd)
      : kind(itsKind), bytes(begin), room(size), dirty(dirtyEnd) {}

  BlockKind kind;
  std::atomic<std::uint32_t> uses{1};
  std::atomic<bool> exposed{false};
  std::atomic<std::uint64_t> used{0};
  std::atomic<std::uint64_t> settled{0};  // no one writes below it any more; 0 until shared
  char* bytes;
  std::uint64_t room;
  std::uint64_t dirty;  // bytes behind this and behind the used end are zero
};

namespace {

constexpr std::uint64_t kSmallBlock = 65536;  // bytes; smaller ones are not worth counting

constinit std::atomic<std::uint64_t> blockBytes{0};

std::uint64_t Counted(std::uint64_t room) {
  return room < kSmallBlock ? 0 : room;
}

void End(SharedBlock* block) {
  blockBytes.fetch_sub(Counted(block->room), std::memory_order_relaxed);
  if (block->kind == BlockKind::kMalloc) {
    std::free(block->bytes);
  } else if (block->kind == BlockKind::kLarge) {
    // A host that has seen the block may have written anywhere.
    const std::uint64_t used = block->exposed.load(std::memory_order_relaxed)
                                   ? block->room
                                   : block->used.load(std::memory_order_relaxed);
    GiveLargeMemory({block->bytes, block->room, std::max(block->dirty, used)});
  }
  block->~SharedBlock();
  std::free(block);
}

// Null without memory.
SharedBlock* MakeRecord(BlockKind kind, char* bytes, std::uint64_t room, std::uint64_t dirty) {
  void* const memory = std::malloc(sizeof(SharedBlock));
  if (memory == nullptr) {
    return nullptr;
  }
  blockBytes.fetch_add(Counted(room), std::memory_order_relaxed);
  return new (memory) SharedBlock(kind, bytes, room, dirty);
}

// The only use ends there: what stands behind belonged to files that are gone.
void CutUsed(SharedBlock& block, std::uint64_t end) {
  const std::uint64_t used = block.used.load(std::memory_order_relaxed);
  if (used <= end) {
    return;
  }
  block.dirty = std::max(block.dirty, used);
  block.settled.store(std::min(block.settled.load(std::memory_order_relaxed), end),
                      std::memory_order_relaxed);
  block.used.store(end, std::memory_order_relaxed);
}

// The first place at or behind `at` where both texts differ, or the shorter one's end.
std::size_t Mismatch(const char* left, std::string_view right) {
  constexpr std::size_t kStep = 64;
  std::size_t at = 0;
  while (right.size() - at >= kStep && std::memcmp(left + at, right.data() + at, kStep) == 0) {
    at += kStep;
  }
  while (at < right.size() && left[at] == right[at]) {
    ++at;
  }
  return at;
}

}  // namespace

std::uint64_t BlockBytes() {
  return blockBytes.load(std::memory_order_relaxed);
}

BlockUse BlockUse::Make(std::uint64_t room) {
  if (room >= kLargeMemory) {
    const LargeMemory memory = TakeLargeMemory(room);
    BlockUse made =
        memory.bytes == nullptr
            ? BlockUse()
            : BlockUse(MakeRecord(BlockKind::kLarge, memory.bytes, memory.room, memory.dirty));
    if (!made) {
      GiveLargeMemory(memory);
    }
    return made;
  }
  void* const memory = std::malloc(sizeof(SharedBlock) + room);
  if (memory == nullptr) {
    return {};
  }
  blockBytes.fetch_add(Counted(room), std::memory_order_relaxed);
  char* const bytes = static_cast<char*>(memory) + sizeof(SharedBlock);
  return BlockUse(new (memory) SharedBlock(BlockKind::kTogether, bytes, room, room));
}

BlockUse BlockUse::MakeReleasable(std::uint64_t room) {
  MallocBuffer bytes(static_cast<char*>(std::malloc(room == 0 ? 1 : room)));
  BlockUse made =
      bytes ? BlockUse(MakeRecord(BlockKind::kMalloc, bytes.Data(), room, room)) : BlockUse();
  if (made) {
    static_cast<void>(bytes.Release());
  }
  return made;
}

BlockUse BlockUse::Adopt(char* bytes, std::uint64_t size) {
  BlockUse made(MakeRecord(BlockKind::kMalloc, bytes, size, size));
  if (made) {
    made.block_->used.store(size, std::memory_order_relaxed);
  }
  return made;
}

BlockUse::BlockUse(const BlockUse& other) noexcept : block_(other.block_) {
  if (block_ != nullptr) {
    block_->uses.fetch_add(1, std::memory_order_relaxed);
  }
}

BlockUse& BlockUse::operator=(const BlockUse& other) noexcept {
  BlockUse copy(other);
  std::swap(block_, copy.block_);
  return *this;
}

BlockUse& BlockUse::operator=(BlockUse&& other) noexcept {
  if (this != &other) {
    Drop();
    block_ = std::exchange(other.block_, nullptr);
  }
  return *this;
}

void BlockUse::Drop() noexcept {
  SharedBlock* const block = std::exchange(block_, nullptr);
  if (block != nullptr && (block->uses.load(std::memory_order_acquire) == 1 ||
                           block->uses.fetch_sub(1, std::memory_order_acq_rel) == 1)) {
    End(block);
  }
}

char* BlockUse::Bytes() const {
  return block_->bytes;
}

std::uint64_t BlockUse::Room() const {
  return block_->room;
}

bool BlockUse::IsOnly() const {
  return block_->uses.load(std::memory_order_acquire) == 1;
}

bool BlockUse::IsReleasable() const {
  return block_->kind == BlockKind::kMalloc;
}

void BlockUse::Settle() const {
  // From the second use on, what lies behind may be being filled by another file just now.
  if (IsOnly()) {
    block_->settled.store(block_->used.load(std::memory_order_relaxed), std::memory_order_relaxed);
  }
}

std::uint64_t BlockUse::AlikeAt(std::uint64_t end, std::string_view text) const {
  const std::uint64_t settled = block_->settled.load(std::memory_order_relaxed);
  if (end >= settled) {
    return 0;
  }
  return Mismatch(block_->bytes + end, text.substr(0, settled - end));
}

char* BlockUse::Claim(std::uint64_t end, std::uint64_t count) const {
  if (count > block_->room || end > block_->room - count) {
    return nullptr;
  }
  if (IsOnly()) {
    CutUsed(*block_, end);
    block_->used.store(end + count, std::memory_order_relaxed);
    return block_->bytes + end;
  }
  std::uint64_t expected = end;
  return block_->used.compare_exchange_strong(expected, end + count, std::memory_order_relaxed)
             ? block_->bytes + end
             : nullptr;
}

void BlockUse::MarkExposed() const {
  block_->exposed.store(true, std::memory_order_relaxed);
}

bool BlockUse::IsExposed() const {
  return block_->exposed.load(std::memory_order_relaxed);
}

void BlockUse::ZeroBehind(std::uint64_t end, std::uint64_t room) const {
  CutUsed(*block_, end);
  const std::uint64_t dirty = std::min(std::max(block_->dirty, end), room);
  std::memset(block_->bytes + end, 0, dirty - end);
  if (dirty == block_->dirty) {
    block_->dirty = end;
  }
}

bool BlockUse::CanGrow() const {
  return block_->kind != BlockKind::kTogether;
}

bool BlockUse::Grow(std::uint64_t room) const {
  const std::uint64_t before = block_->room;
  if (block_->kind == BlockKind::kLarge) {
    LargeMemory memory = {block_->bytes, before, block_->dirty};
    if (!GrowLargeMemory(memory, room)) {
      return false;
    }
    block_->bytes = memory.bytes;
    block_->room = memory.room;
  } else {
    char* const bytes = static_cast<char*>(std::realloc(block_->bytes, room));
    if (bytes == nullptr) {
      return false;
    }
    block_->bytes = bytes;
    block_->room = room;
    block_->dirty = room;
  }
  blockBytes.fetch_add(Counted(block_->room) - Counted(before), std::memory_order_relaxed);
  return true;
}

MallocBuffer BlockUse::Release() {
  MallocBuffer bytes(std::exchange(block_->bytes, nullptr));
  Drop();
  return bytes;
}

}  // namespace zevka
