// A block of memory that the contents of several files may lie in. What a file holds of a block
// never changes as long as another file may hold it too, so a body that only goes from one file
// into another is not copied.
//
// Bytes are given out from the front on: those behind the used end are nobody's until a file claims
// them. The block goes with its last use.
//
// A small piece keeps all of its block, so the memory of blocks is counted by itself: see
// BlockBytes.
//
// Threads: uses of one block may be held by files of several threads.
#ifndef ZEVKA_FILEIO_SHARED_BLOCK_H
#define ZEVKA_FILEIO_SHARED_BLOCK_H

#include <cstdint>
#include <string_view>
#include <utility>

#include "fileio/malloc_buffer.h"

namespace zevka {

struct SharedBlock;

// The bytes of all blocks that are not small.
std::uint64_t BlockBytes();

// One use of a block, or none.
class BlockUse {
 public:
  // A block with that many bytes of room, none of them used. Empty without memory for it.
  static BlockUse Make(std::uint64_t room);
  // The same; its bytes are a malloc block of their own, which Release can give away.
  static BlockUse MakeReleasable(std::uint64_t room);
  // A block around a malloc block, which is all used. Empty without memory for it: the bytes stay
  // the caller's then.
  static BlockUse Adopt(char* bytes, std::uint64_t size);

  BlockUse() = default;
  ~BlockUse() { Drop(); }
  BlockUse(const BlockUse& other) noexcept;
  BlockUse& operator=(const BlockUse& other) noexcept;
  BlockUse(BlockUse&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  BlockUse& operator=(BlockUse&& other) noexcept;

  explicit operator bool() const { return block_ != nullptr; }
  friend bool operator==(const BlockUse& left, const BlockUse& right) {
    return left.block_ == right.block_;
  }

  // The functions below are for a use that is not empty.

  char* Bytes() const;
  std::uint64_t Room() const;
  // Whether this is the only use there is: its holder may change what the block holds then.
  bool IsOnly() const;
  bool IsReleasable() const;

  // To be called before a second use is made: what is used now stays as it is from here on.
  void Settle() const;
  // How many bytes of `text` the block holds at `end` already, as far as it has settled.
  std::uint64_t AlikeAt(std::uint64_t end, std::string_view text) const;
  // Takes `count` bytes from `end` on, which is where the holder's own bytes end, when nobody has
  // them and there is room. Null otherwise.
  char* Claim(std::uint64_t end, std::uint64_t count) const;

  // A pointer into the block was given to a host, who may write through it: it is not shared then.
  void MarkExposed() const;
  bool IsExposed() const;

  // The only use: sets the bytes from `end`, where the holder's own bytes end, up to `room` to
  // zero.
  void ZeroBehind(std::uint64_t end, std::uint64_t room) const;

  // Whether Grow is there for this block: its bytes are not allocated with it.
  bool CanGrow() const;
  // The only use: gives the block more room. Its bytes move. False without memory.
  bool Grow(std::uint64_t room) const;
  // The only use of a releasable block: hands its bytes over and is empty afterwards.
  MallocBuffer Release();

 private:
  explicit BlockUse(SharedBlock* block) : block_(block) {}
  void Drop() noexcept;

  SharedBlock* block_ = nullptr;  // counted
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_SHARED_BLOCK_H
