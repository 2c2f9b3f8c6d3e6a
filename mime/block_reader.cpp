#include "mime/block_reader.h"

#include "fileio/file_operations.h"

namespace zevka {

BlockReader::BlockReader(OpenFile& input, std::size_t blockSize)
    : input_(input), buffer_(blockSize, '\0') {}

bool BlockReader::ReadFirst() {
  if (FileRead(buffer_.data(), buffer_.size(), 1, input_.Handle()) == 1) {
    fill_ = buffer_.size();
    return true;
  }
  // A directory opens like a file and fails here.
  const std::int64_t size = input_.Failed() ? -1 : input_.Tell();
  if (size < 0 || static_cast<std::uint64_t>(size) > buffer_.size()) {
    return false;
  }
  fill_ = static_cast<std::size_t>(size);
  exhausted_ = true;
  return true;
}

bool BlockReader::ReadNext() {
  blockStart_ += static_cast<std::int64_t>(fill_);
  fill_ = FileRead(buffer_.data(), 1, buffer_.size(), input_.Handle());
  if (fill_ == buffer_.size()) {
    return true;
  }
  exhausted_ = true;
  return FileEof(input_.Handle()) != 0;
}

}  // namespace zevka
