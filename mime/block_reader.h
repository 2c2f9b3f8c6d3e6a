// Reads an open file in blocks and knows where in the file each byte of the current block lies.
// Lines are line_reader's work.
#ifndef ZEVKA_MIME_BLOCK_READER_H
#define ZEVKA_MIME_BLOCK_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fileio/open_file.h"

namespace zevka {

// The size that messages have always been read in, in bytes. Some results depend on it.
inline constexpr std::size_t kBlockSize = 4096;

class BlockReader {
 public:
  // Reads `input` from its start. The file stays the caller's and is not read by anyone else
  // meanwhile.
  //   blockSize  bytes in a block; tests make it small
  explicit BlockReader(OpenFile& input, std::size_t blockSize = kBlockSize);

  // Takes the first block. False when the file cannot be read or gave less than it holds.
  bool ReadFirst();

  // Takes the next block, which may be empty at the end of the input. False for a read error.
  bool ReadNext();

  std::string_view Block() const { return block_; }
  // Where Block() begins in the input.
  std::int64_t BlockStart() const { return blockStart_; }
  // Whether there is nothing behind Block().
  bool Exhausted() const { return exhausted_; }

 private:
  OpenFile& input_;
  std::size_t blockSize_;
  std::string spare_;  // for a block that does not lie in memory anyway
  std::string_view block_;
  std::int64_t blockStart_ = 0;
  bool exhausted_ = false;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_BLOCK_READER_H
