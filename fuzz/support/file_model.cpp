#include "fuzz/support/file_model.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace zevka::fuzz {
namespace {

constexpr unsigned kRead = 1;
constexpr unsigned kWrite = 2;
constexpr unsigned kCreate = 4;
constexpr unsigned kTruncate = 8;
constexpr unsigned kAppend = 16;
constexpr std::uint64_t kStep = 4096;
constexpr std::uint64_t kLargestFile = 0x8000000;
constexpr int kErrnoIsOpen = static_cast<int>(0x80000010U);
constexpr std::size_t kModeRoom = 7;

unsigned FlagsOf(const std::string& mode) {
  unsigned flags = 0;
  for (const char c : mode) {
    if (c == 'r') {
      flags = kRead;
    } else if (c == 'w') {
      flags = kWrite | kCreate | kTruncate;
    } else if (c == 'a') {
      flags = kWrite | kAppend;
    } else if (c == '+') {
      flags = flags == kRead                ? kRead | kWrite
              : flags == (kWrite | kAppend) ? flags | kRead | kCreate
              : (flags & kWrite) != 0       ? flags | kRead
                                            : flags;
    }
  }
  return flags;
}

std::string KeyOf(const std::string& name) {
  return name.ends_with(FileModel::kTwinEnd)
             ? name.substr(0, name.size() - FileModel::kTwinEnd.size())
             : name;
}

int FailWith(int error) {
  errno = error;
  return -1;
}

}  // namespace

ModelHandle FileModel::InMemory(const std::string& name) const {
  const auto found = memory_.find(KeyOf(name));
  return found == memory_.end() ? nullptr : found->second;
}

std::uint64_t FileModel::MemoryInUse() const {
  std::uint64_t sum = 0;
  for (const auto& [name, file] : memory_) {
    sum += file->capacity;
  }
  for (const ModelHandle& file : nameless_) {
    sum += file->capacity;
  }
  return sum;
}

bool FileModel::Fits(const ModelFile& file, std::uint64_t capacity) const {
  return capacity <= kLargestFile && MemoryInUse() - file.capacity + capacity <= budget_;
}

void FileModel::Forget(const std::string& name) {
  const auto found = memory_.find(KeyOf(name));
  found->second->isGone = true;
  memory_.erase(found);
}

ModelHandle FileModel::Open(const std::string& name, const std::string& mode) {
  const unsigned flags = FlagsOf(mode);
  if (ModelHandle file = InMemory(name)) {
    ++file->opens;
    if (file->flags != 0) {
      errno = kErrnoIsOpen;
      return file;
    }
    if ((flags & kTruncate) != 0) {
      file->bytes.clear();
      file->capacity = 0;
    }
    file->flags = flags;
    file->position = 0;
    file->error = false;
    file->end = false;
    return file;
  }
  auto made = std::make_shared<ModelFile>();
  made->name = name;
  made->opens = 1;
  made->mode = mode.substr(0, kModeRoom);
  made->flags = flags;
  struct stat status {};
  if (::stat(Shadow(name).c_str(), &status) == 0) {
    made->stream = std::fopen(Shadow(name).c_str(), mode.c_str());
    return made->stream == nullptr ? nullptr : made;
  }
  if (errno != ENOENT || (flags & kCreate) == 0) {
    return nullptr;
  }
  memory_[KeyOf(name)] = made;
  return made;
}

void FileModel::Close(ModelFile& file) {
  if (file.stream != nullptr) {
    std::fclose(file.stream);
    file.isGone = true;
  }
  file.flags = 0;
  file.opens -= file.opens == 0 ? 0 : 1;
  if (file.isNameless) {
    file.mayOnlyBeClosed = true;
    file.isGone = file.opens == 0;
    std::erase_if(nameless_, [&](const ModelHandle& one) { return one.get() == &file; });
  }
}

std::size_t FileModel::Read(ModelFile& file, std::size_t itemSize, std::size_t itemCount,
                            std::string& bytes) {
  if (file.stream != nullptr) {
    bytes.resize(itemSize * itemCount);
    const std::int64_t before = std::ftell(file.stream);
    const std::size_t items = std::fread(bytes.data(), itemSize, itemCount, file.stream);
    const std::int64_t after = std::ftell(file.stream);
    bytes.resize(items == itemCount ? items * itemSize : static_cast<std::size_t>(after - before));
    return items;
  }
  bytes.clear();
  if ((file.flags & kRead) == 0) {
    file.error = true;
    file.end = false;
    errno = EBADF;
    return 0;
  }
  file.error = false;
  const auto position = static_cast<std::uint64_t>(file.position);
  if (position >= file.bytes.size()) {
    file.end = true;
    return 0;
  }
  bytes = file.bytes.substr(position, itemSize * itemCount);
  file.position += static_cast<std::int64_t>(bytes.size());
  file.end = bytes.size() < itemSize * itemCount;
  return bytes.size() / itemSize;
}

bool FileModel::Grow(ModelFile& file, std::uint64_t need) {
  if (need < file.capacity) {
    return true;
  }
  std::uint64_t capacity = 2 * file.capacity;
  if (need >= capacity) {
    capacity = need / kStep * kStep + kStep;
  }
  if (!Fits(file, capacity)) {
    errno = ENOMEM;
    return false;
  }
  file.capacity = capacity;
  return true;
}

std::size_t FileModel::Write(ModelFile& file, std::string_view bytes, std::size_t itemSize,
                             std::size_t itemCount) {
  if (file.stream != nullptr) {
    return std::fwrite(bytes.data(), itemSize, itemCount, file.stream);
  }
  if ((file.flags & kWrite) == 0) {
    file.error = true;
    file.end = false;
    errno = EBADF;
    return 0;
  }
  if ((file.flags & kAppend) != 0) {
    file.position = static_cast<std::int64_t>(file.bytes.size());
  }
  const auto position = static_cast<std::uint64_t>(file.position);
  if (!Grow(file, position + bytes.size())) {
    return Spill(file, bytes, itemSize, itemCount);
  }
  file.bytes.resize(std::max(file.bytes.size(), position + bytes.size()));
  file.bytes.replace(position, bytes.size(), bytes);
  file.position += static_cast<std::int64_t>(bytes.size());
  return itemSize == 0 ? 0 : itemCount;
}

std::size_t FileModel::Spill(ModelFile& file, std::string_view bytes, std::size_t itemSize,
                             std::size_t itemCount) {
  if (file.isNameless) {
    errno = EIO;
    return 0;
  }
  const auto found = memory_.find(KeyOf(file.name));
  const ModelHandle self = found->second;
  memory_.erase(found);
  file.stream = std::fopen(Shadow(file.name).c_str(), file.mode.c_str());
  if (file.stream == nullptr) {
    file.isNameless = true;
    nameless_.push_back(self);
    file.error = true;
    file.end = false;
    return 0;
  }
  std::fwrite(file.bytes.data(), 1, file.bytes.size(), file.stream);
  return std::fwrite(bytes.data(), itemSize, itemCount, file.stream);
}

// Zeros from the position on, which never bring the file to disk.
void FileModel::Fill(ModelFile& file, std::uint64_t count) {
  if ((file.flags & kWrite) == 0) {
    return;
  }
  if ((file.flags & kAppend) != 0) {
    file.position = static_cast<std::int64_t>(file.bytes.size());
  }
  const auto position = static_cast<std::uint64_t>(file.position);
  if (Grow(file, position + count)) {
    file.bytes.resize(std::max<std::uint64_t>(file.bytes.size(), position + count));
    file.bytes.replace(position, count, count, '\0');
  }
}

int FileModel::SeekFromStart(ModelFile& file, std::int64_t target) {
  if (target < 0) {
    file.error = true;
    return FailWith(EINVAL);
  }
  const auto length = static_cast<std::int64_t>(file.bytes.size());
  if (target > length) {
    Fill(file, static_cast<std::uint64_t>(target - length));
  }
  file.position = target;
  ClearError(file);
  return 0;
}

int FileModel::Seek(ModelFile& file, std::int64_t offset, int whence) {
  if (file.stream != nullptr) {
    return std::fseek(file.stream, offset, whence);
  }
  switch (whence) {
    case SEEK_SET:
      return SeekFromStart(file, offset);
    case SEEK_CUR:
      return SeekFromStart(file, file.position + offset);
    case SEEK_END:
      return SeekFromStart(file, static_cast<std::int64_t>(file.bytes.size()) - offset);
    default:
      ClearError(file);
      return 0;
  }
}

std::int64_t FileModel::Tell(const ModelFile& file) const {
  return file.stream != nullptr ? std::ftell(file.stream) : file.position;
}

bool FileModel::Error(const ModelFile& file) const {
  return file.stream != nullptr ? std::ferror(file.stream) != 0 : file.error;
}

bool FileModel::End(const ModelFile& file) const {
  return file.stream != nullptr ? std::feof(file.stream) != 0 : file.end;
}

void FileModel::ClearError(ModelFile& file) {
  if (file.stream != nullptr) {
    std::clearerr(file.stream);
  }
  file.error = false;
  file.end = false;
}

int FileModel::Remove(const std::string& name) {
  if (InMemory(name) == nullptr) {
    return ::unlink(Shadow(name).c_str());
  }
  Forget(name);
  return 0;
}

int FileModel::Commit(const std::string& name) {
  const ModelHandle file = InMemory(name);
  if (file == nullptr) {
    struct stat status {};
    return ::stat(Shadow(name).c_str(), &status);
  }
  const int descriptor = ::open(Shadow(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (descriptor < 0) {
    return -1;
  }
  const auto written = ::write(descriptor, file->bytes.data(), file->bytes.size());
  ::close(descriptor);
  if (written != static_cast<ssize_t>(file->bytes.size())) {
    return -1;
  }
  Forget(name);
  return 0;
}

std::optional<std::int64_t> FileModel::Stat(const std::string& name) const {
  if (const ModelHandle file = InMemory(name)) {
    return static_cast<std::int64_t>(file->bytes.size());
  }
  struct stat status {};
  if (::stat(Shadow(name).c_str(), &status) == 0) {
    return status.st_size;
  }
  errno = errno == ENOENT ? EIO : errno;
  return std::nullopt;
}

int FileModel::Rename(const std::string& oldName, const std::string& newName) {
  const ModelHandle file = InMemory(oldName);
  if (file == nullptr) {
    return std::rename(Shadow(oldName).c_str(), Shadow(newName).c_str());
  }
  memory_.erase(KeyOf(oldName));
  const ModelHandle existing = InMemory(newName);
  if (existing == nullptr) {
    file->name = newName;
    memory_[KeyOf(newName)] = file;
    return 0;
  }
  existing->bytes = file->bytes;
  existing->capacity = file->capacity;
  existing->position = file->position;
  file->isGone = true;
  return 0;
}

int FileModel::IsOnDisk(const std::string& name) const {
  struct stat status {};
  return InMemory(name) == nullptr && ::stat(Shadow(name).c_str(), &status) == 0 ? 0 : -1;
}

std::optional<std::string> FileModel::Take(const std::string& name) {
  if (const ModelHandle file = InMemory(name)) {
    Forget(name);
    return file->bytes;
  }
  struct stat status {};
  std::FILE* const stream =
      ::stat(Shadow(name).c_str(), &status) == 0 ? std::fopen(Shadow(name).c_str(), "rb") : nullptr;
  if (stream == nullptr) {
    return std::nullopt;
  }
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
  const bool isRead = !bytes.empty() || std::feof(stream) != 0;
  std::fclose(stream);
  if (!isRead) {
    return std::nullopt;
  }
  ::unlink(Shadow(name).c_str());
  return bytes;
}

int FileModel::Attach(ModelFile& file, std::string bytes) {
  if (file.stream != nullptr) {
    return FailWith(EINVAL);
  }
  if (!Fits(file, bytes.size())) {
    return FailWith(ENOMEM);
  }
  for (std::uint64_t at = file.capacity; at < bytes.size(); ++at) {
    bytes[at] = '\0';
  }
  file.capacity = bytes.size();
  file.bytes = std::move(bytes);
  file.position = 0;
  return 0;
}

}  // namespace zevka::fuzz
