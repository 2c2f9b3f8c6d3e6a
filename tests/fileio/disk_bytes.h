// The bytes of a disk file, read without the file operations under test.
#ifndef ZEVKA_TESTS_FILEIO_DISK_BYTES_H
#define ZEVKA_TESTS_FILEIO_DISK_BYTES_H

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace zevka::test {

inline std::string DiskBytes(const std::string& path) {
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    ADD_FAILURE() << "cannot read " << path;
    return {};
  }
  std::string bytes;
  std::array<char, 4096> block{};
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), file.get())) {
    bytes.append(block.data(), count);
  }
  return bytes;
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FILEIO_DISK_BYTES_H
