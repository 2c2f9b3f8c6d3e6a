// Runs a fuzz target over files, without a fuzzer: each argument is a file or a folder of files, or
// nothing yet. So the collected inputs are tests with any compiler. Prints how many inputs were
// tried; none at all is a failure.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "fuzz/support/target.h"

namespace {

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) {
    return {};
  }
  if (!std::filesystem::is_directory(path)) {
    return {path};
  }
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  try {
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
      for (const std::filesystem::path& path : FilesOf(argv[i])) {
        std::fprintf(stderr, "%s\n", path.c_str());
        Replay(path);
        ++inputs;
      }
    }
    std::printf("inputs tried: %zu\n", inputs);
    return inputs == 0 ? 1 : 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "replay: %s\n", error.what());
    return 1;
  }
}
