// The bytes of a memory file: one or more pieces of memory blocks, some of which may be those of
// other files too. What a file takes over from another is not copied, and what it is given that
// stands in its block already is not either (see Expect); a block that several files hold is never
// written to.
//
// How much memory is really held differs from the file's capacity, which only the budget counts.
//
// Threads: one at a time, but for this: Read, Run and Size may go on in one thread while Expose
// runs in another.
#ifndef ZEVKA_FILEIO_FILE_CONTENTS_H
#define ZEVKA_FILEIO_FILE_CONTENTS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "fileio/malloc_buffer.h"
#include "fileio/shared_block.h"

namespace zevka {

// What stands at a place of a block, held so that it stays.
struct HeldText {
  BlockUse block;
  std::uint64_t begin = 0;
  std::uint64_t length = 0;

  std::string_view Text() const {
    return block ? std::string_view(block.Bytes() + begin, length) : std::string_view();
  }
};

class FileContents {
 public:
  FileContents() = default;
  ~FileContents() = default;
  FileContents(FileContents&&) = delete;
  FileContents(const FileContents&) = delete;
  FileContents& operator=(const FileContents&) = delete;
  // Moves; the other is empty afterwards.
  FileContents& operator=(FileContents&& other) noexcept;

  std::uint64_t Size() const { return size_; }
  // Whether no block is held at all.
  bool IsEmpty() const { return !first_.block && flat_.load(std::memory_order_acquire) == nullptr; }

  // Copies `count` bytes from `at` on, all of which there are.
  void Read(std::uint64_t at, char* buffer, std::uint64_t count) const;
  // The bytes from `at` on, which is no further than the end, as far as they lie together.
  std::string_view Run(std::uint64_t at) const;

  // Puts bytes at `at`, with zeros in front of them when that is beyond the end.
  //   capacity  what the file counts for, above the end of what is written: no more is ever asked
  //             for at once than this, when it goes to one block
  // False without memory; the contents are as they were then, but for zeros.
  bool Write(std::uint64_t at, std::string_view bytes, std::uint64_t capacity);
  // Appends what `from` holds at `at`: `count` bytes, more than none, that lie together there (see
  // Run). Both then have the same memory, where that is worth it. False without memory.
  bool AppendFrom(FileContents& from, std::uint64_t at, std::uint64_t count,
                  std::uint64_t capacity);
  // The same from what is held.
  bool AppendHeld(const HeldText& bytes, std::uint64_t at, std::uint64_t count,
                  std::uint64_t capacity);

  // Tells that an empty file will be about that large.
  void ExpectSize(std::uint64_t bytes) { expectedSize_ = bytes; }
  // A hold on the first piece, unless a host may write there.
  HeldText Hold();
  // Tells that an empty file will hold much of what is held: what is appended is compared and, as
  // long as it is the same, taken from there.
  void Expect(const HeldText& bytes);

  // All bytes in one block of their own with zeros behind them up to `capacity`; a host may write
  // there. Null without memory.
  //   idle  nobody reads meanwhile
  char* Expose(std::uint64_t capacity, bool idle);
  // Gives all bytes away, with a zero behind them, unless they were adopted. Empty, and nothing
  // changed, without memory for that.
  MallocBuffer Release();
  // Takes a malloc block as the contents; false without memory: it stays the caller's then.
  bool Adopt(char* bytes, std::uint64_t size);
  // Whether there are contents that a host has, or had, a pointer into.
  bool IsExposed() const { return first_.block && first_.block.IsExposed(); }
  // Forgets the contents without freeing a block that nobody else holds.
  void Abandon();
  void Clear();

  // Copies everything to a block of its own when what is held of others is far more than the
  // contents; nothing without memory. Files that outlive their message are held to less.
  enum class Thrift { kLax, kStrict };
  void Compact(Thrift thrift);

  // Calls `visit` with the bytes of each piece, in order, while it gives true; false when it did
  // not.
  template <typename Visit>
  bool ForEachPiece(const Visit& visit) const {
    if (const char* const flat = flat_.load(std::memory_order_acquire)) {
      return visit(std::string_view(flat, size_));
    }
    for (std::size_t i = 0; i <= more_.size() && first_.block; ++i) {
      const Piece& piece = PieceAt(i);
      if (!visit(std::string_view(piece.block.Bytes() + piece.begin, piece.length))) {
        return false;
      }
    }
    return true;
  }

 private:
  struct Piece {
    BlockUse block;
    std::uint64_t begin = 0;
    std::uint64_t length = 0;
  };
  struct Place {
    std::size_t piece = 0;
    std::uint64_t offset = 0;  // in the piece
  };

  const Piece& PieceAt(std::size_t index) const { return index == 0 ? first_ : more_[index - 1]; }
  Piece& Last() { return more_.empty() ? first_ : more_.back(); }
  bool IsFlat() const { return more_.empty() && first_.begin == 0; }
  bool IsOwnFlat() const { return first_.block && IsFlat() && first_.block.IsOnly(); }
  Place Find(std::uint64_t at) const;
  void UseFlat();
  bool AddPiece(Piece piece);
  bool AppendPiece(const BlockUse& block, std::uint64_t begin, std::uint64_t count,
                   std::uint64_t capacity);
  bool Append(std::string_view bytes, std::uint64_t capacity);
  bool AppendZeros(std::uint64_t count, std::uint64_t capacity);
  bool AppendNew(std::string_view bytes, std::uint64_t capacity);
  std::uint64_t FirstRoom(std::uint64_t need, std::uint64_t capacity) const;
  void CopyTo(char* buffer) const;
  bool Flatten(std::uint64_t room);
  std::uint64_t HeldBytes() const;
  bool CanExpose(std::uint64_t room, bool idle) const;

  std::uint64_t size_ = 0;
  std::uint64_t expectedSize_ = 0;
  Piece first_;
  std::vector<Piece> more_;
  // Where the last look at a place ended up, for the next one.
  mutable std::size_t lastPiece_ = 0;
  mutable std::uint64_t lastStart_ = 0;
  // What Expose made while others may read the pieces; the contents from then on.
  BlockUse flatBlock_;
  std::atomic<char*> flat_{nullptr};
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_CONTENTS_H
