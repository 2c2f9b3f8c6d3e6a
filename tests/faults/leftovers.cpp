#include "tests/faults/leftovers.h"

#include <filesystem>
#include <iterator>

namespace zevka::test {

std::vector<std::string> DerivedNames(const std::string& own) {
  // Up to four children, and as many in the last of them; the deepest is a child of an embedded
  // one.
  std::vector<std::string> stems = {"", "_footer", "_multipart", "_multipart_0"};
  for (const char* child : {"_0", "_1", "_2", "_3", "_4"}) {
    stems.emplace_back(child);
    for (const char* inner : {"_0", "_1", "_e"}) {
      stems.push_back(std::string(child) + inner);
    }
  }
  std::vector<std::string> names;
  for (const std::string& stem : stems) {
    for (const char* suffix : {"", "_e", "_d", "_b", "_e.rfc822"}) {
      if (!stem.empty() || *suffix != '\0') {
        names.push_back(own + stem + suffix);
      }
    }
  }
  return names;
}

std::vector<std::string> NamesThatExist(const FileOperations& files, const std::string& own) {
  std::vector<std::string> found;
  for (const std::string& name : DerivedNames(own)) {
    struct stat status {};
    if (files.stat(name.c_str(), &status) == 0) {
      found.push_back(name);
    }
  }
  return found;
}

void RemoveWholly(const FileOperations& files, const std::string& name) {
  while (files.remove(name.c_str()) == 0) {
  }
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<int>(std::distance(begin(all), end(all)));
}

}  // namespace zevka::test
