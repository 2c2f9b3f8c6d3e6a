#include "mime/block_reader.h"

#include "fileio/file_operations.h"

namespace zevka {

BlockReader::BlockReader(OpenFile& input, std::size_t blockSize)
    : input_(input), blockSize_(blockSize) {}

bool BlockReader::ReadFirst() {
  block_ = input_.Take(blockSize_, spare_);
  if (block_.size() == blockSize_) {
    return true;
  }
  // A directory opens like a file and fails here.
  const std::int64_t size = input_.Failed() ? -1 : input_.Tell();
  if (size < 0 || static_cast<std::uint64_t>(size) > blockSize_) {
    return false;
  }
  // KEEP(first-block-by-position): what was read is taken to begin at the start of the file. Of one
  // that somebody left open further on, the block is as much longer, and ends with zeros.
  if (static_cast<std::uint64_t>(size) != block_.size()) {
    spare_.assign(block_);
    spare_.resize(static_cast<std::size_t>(size), '\0');
    block_ = spare_;
  }
  exhausted_ = true;
  return true;
}

bool BlockReader::ReadNext() {
  blockStart_ += static_cast<std::int64_t>(block_.size());
  block_ = input_.Take(blockSize_, spare_);
  if (block_.size() == blockSize_) {
    return true;
  }
  exhausted_ = true;
  return FileEof(input_.Handle()) != 0;
}

}  // namespace zevka
