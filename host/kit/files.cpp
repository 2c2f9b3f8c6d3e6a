#include <sys/stat.h>
#include <zevka/host.h>

#include <array>
#include <memory>

namespace zevka::host {

namespace {

constexpr std::size_t kReadBytes = 65536;

using Handle = std::unique_ptr<void, int (*)(void*)>;

}  // namespace

std::string Files::Read(const std::string& name) const {
  const Handle file(table_.open(name.c_str(), "rb"), table_.close);
  if (file == nullptr) {
    throw Failure("cannot be opened through the library");
  }
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
  Handle file(table_.open(name.c_str(), "wb"), table_.close);
  if (file == nullptr) {
    throw Failure("cannot be made through the library");
  }
  if (!bytes.empty() && table_.write(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
    file.reset();
    table_.remove(name.c_str());
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
