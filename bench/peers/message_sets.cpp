#include "bench/peers/message_sets.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zevka::bench {
namespace {

namespace fs = std::filesystem;

struct NamedSet {
  std::string_view name;
  std::string_view entry;  // below the folder of made sets
};
constexpr std::array<NamedSet, 7> kMadeSets = {{{"a", "a-base64-25m.eml"},
                                                {"b", "b-qp-25m.eml"},
                                                {"c", "c-small"},
                                                {"d", "d-mixed"},
                                                {"e", "e-nested.eml"},
                                                {"f", "f-900parts.eml"},
                                                {"g", "g-8bit-10m.eml"}}};

// What lies in the corpus and is no message.
constexpr std::array<std::string_view, 3> kNoMessages = {"README.md", "INDEX.tsv", "make_big.py"};

bool IsMessage(const fs::path& path) {
  const std::string name = path.filename().string();
  return !name.starts_with('.') &&
         std::find(kNoMessages.begin(), kNoMessages.end(), name) == kNoMessages.end();
}

std::vector<fs::path> FilesOf(const fs::path& path) {
  if (!fs::exists(path)) {
    throw std::runtime_error("no such file or folder: " + path.string());
  }
  if (!fs::is_directory(path)) {
    return {path};
  }
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file() && IsMessage(entry.path())) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::pair<std::string, fs::path> NameAndPath(const std::string& word, const std::string& setsFolder,
                                             const std::string& corpusFolder) {
  if (const std::size_t sign = word.find('='); sign != std::string::npos) {
    return {word.substr(0, sign), word.substr(sign + 1)};
  }
  if (word == "corpus") {
    return {word, corpusFolder};
  }
  for (const NamedSet& set : kMadeSets) {
    if (set.name == word) {
      return {word, fs::path(setsFolder) / set.entry};
    }
  }
  throw std::runtime_error("no set of that name: " + word);
}

}  // namespace

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  std::string bytes(fs::file_size(path), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

MessageSet ReadMessageSet(const std::string& word, const std::string& setsFolder,
                          const std::string& corpusFolder, std::uint64_t mostBytes) {
  MessageSet set;
  fs::path path;
  std::tie(set.name, path) = NameAndPath(word, setsFolder, corpusFolder);
  for (const fs::path& file : FilesOf(path)) {
    if (set.bytes > mostBytes) {
      break;
    }
    set.messages.push_back(ReadFile(file.string()));
    set.files.push_back(file.string());
    set.bytes += set.messages.back().size();
  }
  return set;
}

}  // namespace zevka::bench
