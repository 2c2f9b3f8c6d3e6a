// A folder of its own for one test, gone with the test. Memory files are named by path, so a test
// that names its files inside its folder never meets another test's.
#ifndef ZEVKA_TESTS_SUPPORT_TEMP_DIR_H
#define ZEVKA_TESTS_SUPPORT_TEMP_DIR_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace zevka::test {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zevka-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& Path() const { return path_; }
  std::string Path(std::string_view name) const { return path_ + "/" + std::string(name); }

 private:
  std::string path_;
};

// The bytes of a disk file; an exception when it cannot be read.
inline std::string ReadDisk(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw std::runtime_error("cannot read " + path);
  }
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

inline void WriteDisk(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

inline bool OnDisk(const std::string& path) {
  return std::filesystem::exists(path);
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SUPPORT_TEMP_DIR_H
