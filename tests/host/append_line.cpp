// The program that the killer tests kill: appends a line to a file, unless it ends with it already,
// by the road of every safe edit. append_line FILE LINE
// Exit status: 0 the file ends with the line; 1 not done; 75 changed by somebody else meanwhile.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "host/kit/disk.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/replace_file.h"

namespace {

constexpr int kTryAgain = 75;

int AppendLine(const std::string& path, const std::string& line) {
  namespace host = zevka::host;
  host::RemoveLeftovers(std::filesystem::canonical(path).parent_path());
  const host::OriginalFile original = host::ReadOriginal(path);
  if (!original.bytes.ends_with(line)) {
    host::ReplaceFile(original, original.bytes + line);
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    return 1;
  }
  try {
    return AppendLine(arguments[1], std::string(arguments[2]) += '\n');
  } catch (const zevka::host::DiskFailure& failure) {
    std::fprintf(stderr, "append_line: %s\n", failure.what());
    return failure.Trouble() == zevka::host::DiskTrouble::kTryAgain ? kTryAgain : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "append_line: %s\n", failure.what());
    return 1;
  }
}
