// zevka extract FILE -o DIR: writes every decoded leaf of a message into a folder, each under a
// name of its own, and never over a file that is there.
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/cli/commands.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr int kMostTries = 10000;

// The name of a leaf that has none of its own, as in "part-2.1.html".
std::string NumberedName(const Leaf& leaf) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kSuffixes = {{
      {"text/plain", ".txt"},
      {"text/html", ".html"},
      {"message/rfc822", ".eml"},
      {"image/png", ".png"},
      {"image/jpeg", ".jpg"},
      {"application/pdf", ".pdf"},
  }};
  for (const auto& [mediaType, suffix] : kSuffixes) {
    if (leaf.mediaType == mediaType) {
      return "part-" + leaf.number + std::string(suffix);
    }
  }
  return "part-" + leaf.number + ".bin";
}

// "name.txt" becomes "name-1.txt".
std::string WithCount(const std::string& name, int count) {
  const std::size_t dot = name.rfind('.');
  const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
  std::string counted = name.substr(0, end);
  counted += '-';
  counted += std::to_string(count);
  counted += name.substr(end);
  return counted;
}

// Writes the leaf under the first name that is free, and gives that name.
std::string WriteLeaf(const std::string& folder, const Leaf& leaf) {
  std::string wanted = SafeFileName(leaf.name);
  if (wanted.empty()) {
    wanted = NumberedName(leaf);
  }
  std::string name = wanted;
  for (int count = 1; count <= kMostTries; ++count) {
    std::string path = folder;
    path += '/';
    path += name;
    if (WriteNewFile(path, leaf.body, kNewFileMode)) {
      return name;
    }
    name = WithCount(wanted, count);
  }
  throw Failure("no free name for " + wanted);
}

void ExtractFrom(Packer& packer, const InputFile& file, const InputFile& folder) {
  const DiskFile disk = ReadFile(file.absolute);
  const Message message = packer.OpenBytes(disk.bytes);
  const std::vector<Leaf> leaves = Leaves(packer, message.Part());
  MakeFolders(folder.absolute);
  for (const Leaf& leaf : leaves) {
    Print(Printable(folder.given + "/" + WriteLeaf(folder.absolute, leaf)) + "\n");
  }
}

}  // namespace

void RunExtract(Session& session, const ExtractOptions& options) {
  const InputFile folder = {options.output, Absolute(options.output)};
  session.ForFile(options.file, [&folder](Packer& packer, const InputFile& file) {
    ExtractFrom(packer, file, folder);
  });
}

}  // namespace zevka::host
