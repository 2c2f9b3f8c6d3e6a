#include "host/safe_edit/leftovers.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <optional>

#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/safe_edit/maildir.h"

namespace zevka::host {

namespace {

constexpr std::string_view kHead = ".zevka-";
constexpr std::string_view kTail = ".tmp";
constexpr std::size_t kRandomDigits = 16;
constexpr int kHexadecimal = 16;

// What the name of a temporary file tells.
struct LeftoverName {
  // The inode numbers of the two files that may lie under it; while it is written, any may.
  bool named = false;
  std::uint64_t draft = 0;
  std::uint64_t old = 0;
};

bool IsHexadecimal(std::string_view text) {
  return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// Cuts "-" and a number off the text's head.
std::optional<std::uint64_t> CutNumber(std::string_view* text) {
  std::uint64_t number = 0;
  if (!text->starts_with('-')) {
    return std::nullopt;
  }
  const char* end = text->data() + text->size();
  const auto [rest, error] = std::from_chars(text->data() + 1, end, number, kHexadecimal);
  const auto digits = text->substr(1, static_cast<std::size_t>(rest - text->data()) - 1);
  if (error != std::errc{} || !IsHexadecimal(digits) || (digits.size() > 1 && digits[0] == '0')) {
    return std::nullopt;
  }
  text->remove_prefix(1 + digits.size());
  return number;
}

std::optional<LeftoverName> ParseName(std::string_view name) {
  if (!name.starts_with(kHead) || !name.ends_with(kTail) ||
      name.size() < kHead.size() + kRandomDigits + kTail.size()) {
    return std::nullopt;
  }
  name.remove_prefix(kHead.size());
  name.remove_suffix(kTail.size());
  if (!IsHexadecimal(name.substr(0, kRandomDigits))) {
    return std::nullopt;
  }
  name.remove_prefix(kRandomDigits);
  if (name.empty()) {
    return LeftoverName{};
  }
  const auto draft = CutNumber(&name);
  const auto old = CutNumber(&name);
  if (!draft || !old || !name.empty()) {
    return std::nullopt;
  }
  return LeftoverName{.named = true, .draft = *draft, .old = *old};
}

void AppendHexadecimal(std::string* text, std::uint64_t number) {
  std::array<char, kRandomDigits> digits{};
  const char* end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, kHexadecimal).ptr;
  text->append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

Descriptor OpenLeftover(int folder, const std::string& name) {
  constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  // Network file systems give an exclusive lock only to those who may write.
  Descriptor file(::openat(folder, name.c_str(), O_RDWR | kFlags));
  return file ? std::move(file) : Descriptor(::openat(folder, name.c_str(), O_RDONLY | kFlags));
}

bool RemoveIfDead(int folder, const std::string& name, const LeftoverName& told) {
  struct stat before {};
  // Other things than files are not even opened: that could wake a device.
  if (::fstatat(folder, name.c_str(), &before, AT_SYMLINK_NOFOLLOW) != 0 ||
      !S_ISREG(before.st_mode) ||
      (told.named && before.st_ino != told.draft && before.st_ino != told.old)) {
    return false;
  }
  const Descriptor file = OpenLeftover(folder, name);
  if (!file || TryLock(file.Number()) != LockResult::kLocked) {
    return false;
  }
  struct stat locked {};
  struct stat now {};
  return ::fstat(file.Number(), &locked) == 0 && locked.st_ino == before.st_ino &&
         ::fstatat(folder, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         now.st_ino == locked.st_ino && ::unlinkat(folder, name.c_str(), 0) == 0;
}

std::size_t RemoveIn(const Descriptor& folder) {
  std::size_t removed = 0;
  if (folder) {
    ForEachName(folder.Number(), [&](const std::string& name) {
      const auto told = ParseName(name);
      if (told && RemoveIfDead(folder.Number(), name, *told)) {
        ++removed;
      }
    });
  }
  return removed;
}

}  // namespace

bool IsLeftoverName(std::string_view name) {
  return ParseName(name).has_value();
}

std::size_t RemoveLeftovers(const std::string& folder) {
  const Descriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!opened) {
    return 0;
  }
  const std::size_t removed = RemoveIn(opened);
  return IsMaildirFolder(folder) ? removed + RemoveIn(OpenSibling(opened.Number(), "tmp"))
                                 : removed;
}

std::string NewDraftName() {
  std::uint64_t random = 0;
  if (::getentropy(&random, sizeof random) != 0) {
    throw DiskFailure(DiskTrouble::kCannotCreate, errno, "no random numbers");
  }
  std::string digits;
  AppendHexadecimal(&digits, random);
  std::string name(kHead);
  name.append(kRandomDigits - digits.size(), '0').append(digits);
  return name += kTail;
}

std::string ExchangeName(std::string_view draftName, ino_t draft, ino_t old) {
  std::string name(draftName.substr(0, draftName.size() - kTail.size()));
  name += '-';
  AppendHexadecimal(&name, draft);
  name += '-';
  AppendHexadecimal(&name, old);
  return name += kTail;
}

LockResult TryLock(int file) {
  if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
    return LockResult::kLocked;
  }
  return errno == EWOULDBLOCK ? LockResult::kBusy : LockResult::kUnknown;
}

}  // namespace zevka::host
