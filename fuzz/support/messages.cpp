#include "fuzz/support/messages.h"

#include <zevka/exports.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "fileio/file_operations.h"
#include "fileio/open_file.h"

namespace zevka::fuzz {
namespace {

// Given back at the end of the process, while the library is still there.
class OnePacker {
 public:
  OnePacker() {
    if (RequestInterface(1, &service_) != 1) {
      throw std::runtime_error("no packer");
    }
  }
  ~OnePacker() { ReleaseInterface(&service_); }
  OnePacker(const OnePacker&) = delete;
  OnePacker& operator=(const OnePacker&) = delete;

  CStandardPacker& Get() const { return *static_cast<CStandardPacker*>(service_); }

 private:
  StandardPacker* service_ = nullptr;
};

constexpr std::size_t kNameRoom = 4096;

}  // namespace

CStandardPacker& Packer() {
  static const OnePacker packer;
  return packer.Get();
}

OpenedMessage::OpenedMessage(std::string_view bytes) {
  std::string copy(bytes);
  part_ = static_cast<MIMEPart*>(
      Packer().OpenMessageFromMemory(copy.data(), static_cast<std::int64_t>(copy.size()), true));
  TakeName();
}

OpenedMessage::OpenedMessage(const ByPath& file) : name_(file.path) {
  part_ = static_cast<MIMEPart*>(Packer().OpenMessage(file.path.c_str()));
}

OpenedMessage::~OpenedMessage() {
  if (part_ != nullptr) {
    Discard();
  }
  if (!name_.empty()) {
    FileRemove(name_.c_str());
  }
}

void OpenedMessage::TakeName() {
  if (part_ != nullptr) {
    std::array<char, kNameRoom> name{};
    part_->GetFileName(name.data(), name.size() - 1);
    name_ = name.data();
  }
}

std::optional<std::string> OpenedMessage::Close(bool commit) {
  char* buffer = nullptr;
  const std::int64_t length = Packer().CloseMessage(part_, &buffer, commit);
  part_ = nullptr;
  if (length < 0) {
    return std::nullopt;
  }
  std::string bytes(buffer == nullptr ? "" : buffer,
                    buffer == nullptr ? 0 : static_cast<std::size_t>(length));
  Packer().ReleaseControl(kReleaseBuffer, buffer);
  return bytes;
}

int OpenedMessage::Commit(const char* subjectSuffix) {
  const int result = Packer().CommitMessage(part_, subjectSuffix, nullptr, nullptr);
  part_ = nullptr;
  return result;
}

bool OpenedMessage::SaveAndClose(const char* subjectSuffix) {
  const bool ended = part_->SaveAndClose(subjectSuffix, nullptr, nullptr) != 0;
  part_ = ended ? nullptr : part_;
  return ended;
}

void OpenedMessage::Discard() {
  Packer().ReleaseControl(kDiscardMessage, static_cast<PartObject*>(part_));
  part_ = nullptr;
}

std::optional<std::string> ReadFile(const std::string& name) {
  OpenFile file(name, "rb");
  if (!file) {
    return std::nullopt;
  }
  std::string bytes;
  std::array<char, kNameRoom> block{};
  std::size_t count = block.size();
  while (count == block.size()) {
    count = file.Read(block.data(), block.size());
    bytes.append(block.data(), count);
  }
  return file.Failed() ? std::nullopt : std::optional<std::string>(bytes);
}

bool WriteFile(const std::string& name, std::string_view bytes) {
  OpenFile file(name, "w+b");
  return file && file.Write(bytes) && file.Close();
}

void WriteDiskFile(const std::string& path, std::string_view bytes) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    throw std::runtime_error("cannot write " + path);
  }
  const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), file);
  if (std::fclose(file) != 0 || written != bytes.size()) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace zevka::fuzz
