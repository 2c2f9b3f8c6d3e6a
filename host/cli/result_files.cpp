#include "host/cli/result_files.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "host/kit/disk.h"
#include "host/kit/text.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/new_file.h"

namespace zevka::host {

namespace {

constexpr mode_t kPrivate = 0600;
constexpr int kMostDumps = 100000;

// "sub/name.eml" and 2 as "sub/name-2.eml".
std::string Numbered(std::string_view name, std::size_t number) {
  const std::size_t slash = name.rfind('/');
  const std::size_t base = slash == std::string_view::npos ? 0 : slash + 1;
  std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot <= base) {
    dot = name.size();
  }
  std::string result(name.substr(0, dot));
  result.append("-").append(std::to_string(number));
  return result.append(name.substr(dot));
}

}  // namespace

std::vector<std::string> ResultNames(const std::vector<Input>& inputs) {
  std::vector<std::string> names;
  std::set<std::string, std::less<>> taken;
  names.reserve(inputs.size());
  for (const Input& input : inputs) {
    std::string name(input.Relative());
    for (std::size_t number = 2; !taken.insert(name).second; ++number) {
      name = Numbered(input.Relative(), number);
    }
    names.push_back(std::move(name));
  }
  return names;
}

bool WriteResult(const std::string& path, std::string_view bytes, mode_t mode) {
  std::error_code failed;
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  std::filesystem::create_directories(folder, failed);
  if (failed) {
    throw DiskFailure(DiskTrouble::kCannotCreate, failed.value(),
                      std::string("cannot make the folder ") += folder.string());
  }
  return WriteFileAtomically(path, bytes, mode, false);
}

void DumpResult(const std::string& folder, std::string_view name, std::string_view bytes) {
  std::string plain(name);
  std::replace(plain.begin(), plain.end(), '/', '_');
  plain = SafeFileName(plain);
  plain = plain.empty() ? "message" : plain;
  std::string path = folder;
  path.append("/");
  for (int number = 1; number <= kMostDumps; ++number) {
    const std::string candidate =
        number == 1 ? plain : Numbered(plain, static_cast<std::size_t>(number));
    if (WriteNewFile(path + candidate, bytes, kPrivate)) {
      return;
    }
  }
  throw DiskFailure(DiskTrouble::kCannotCreate, EEXIST, path + plain);
}

void LeftoverSweep::SweepBeside(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  const std::lock_guard guard(mutex_);
  if (swept_.insert(folder).second) {
    RemoveLeftovers(folder);
  }
}

}  // namespace zevka::host
