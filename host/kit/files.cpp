#include <sys/stat.h>
#include <zevka/host.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace zevka::host {

namespace {

constexpr std::size_t kReadBytes = 65536;

// What the library sets errno to when it gives the handle of a memory file that is open already.
constexpr int kSharedHandle = static_cast<int>(0x80000010U);

using Handle = std::unique_ptr<void, int (*)(void*)>;

// Closing says nothing, so what a disk file still has in its buffer is pressed out before.
bool WriteWhole(const FileOperations& table, void* file, std::string_view bytes) {
  return bytes.empty() || (table.write(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
                           table.seek(file, 0, SEEK_CUR) == 0 && table.error(file) == 0);
}

}  // namespace

// The file, opened for ourselves alone.
void* Files::OpenAlone(const std::string& name, const char* mode) const {
  errno = 0;
  void* const file = table_.open(name.c_str(), mode);
  if (file == nullptr) {
    throw Failure("cannot be opened through the library");
  }
  if (errno == kSharedHandle) {
    throw Failure("is open already");  // closing it would close it for the other
  }
  return file;
}

std::string Files::Read(const std::string& name) const {
  const Handle file(OpenAlone(name, "rb"), table_.close);
  std::string bytes;
  std::array<char, kReadBytes> block{};
  for (;;) {
    const std::size_t count = table_.read(block.data(), 1, block.size(), file.get());
    if (count == 0) {
      break;
    }
    bytes.append(block.data(), count);
  }
  if (table_.error(file.get()) != 0) {
    throw Failure("cannot be read to its end through the library");
  }
  return bytes;
}

void Files::Write(const std::string& name, std::string_view bytes) const {
  const bool existed = Exists(name);
  Handle file(OpenAlone(name, "wb"), table_.close);
  if (!WriteWhole(table_, file.get(), bytes)) {
    file.reset();
    if (!existed) {
      table_.remove(name.c_str());
    }
    throw Failure("cannot be written through the library");
  }
}

bool Files::Remove(const std::string& name) const {
  return table_.remove(name.c_str()) == 0;
}

bool Files::Exists(const std::string& name) const {
  struct stat status {};
  return table_.stat(name.c_str(), &status) == 0;
}

}  // namespace zevka::host
