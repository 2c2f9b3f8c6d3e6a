#include "bench/host_program.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zevka/packer.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>

namespace zevka::bench {
namespace {

constexpr std::size_t kLargestCopied = 4 << 20;  // bytes

std::string NameOfThread() {
  static std::atomic<int> threads{0};
  thread_local const int thread = threads++;
  return "message-" + std::to_string(thread);
}

void ReadFields(PartObject& part, HostResult& result) {
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part.GetHeaderSizes(&nameSize, &valueSize);
  std::string name(nameSize + 1, '\0');
  std::string value(valueSize + 1, '\0');
  part.RewindHeaders();
  while (part.NextHeader(name.data(), value.data()) == 1) {
    ++result.fields;
  }
}

// A decoded body that the library had to put on disk is read into memory; any other lies there.
void Decode(PartObject& leaf, HostResult& result) {
  const std::uint64_t size = leaf.ReadDecodedBody(nullptr, 0, 0);
  if (size != 0 && leaf.GetDecodedBodyBuffer() == nullptr) {
    std::string body(size, '\0');
    if (leaf.ReadDecodedBody(body.data(), size, 0) != size) {
      throw std::runtime_error("a decoded body cannot be read");
    }
  }
  result.decodedBytes += size;
}

}  // namespace

HostProgram::HostProgram(HostRoad road) : road_(road) {
  if (::chdir(folder_.Path().c_str()) != 0) {
    throw std::runtime_error("no private folder");
  }
}

void HostProgram::Do(std::string_view bytes, const HostWork& work, HostResult& result) const {
  const bool own =
      road_ == HostRoad::kOwnName || (road_ == HostRoad::kBySize && bytes.size() <= kLargestCopied);
  const std::string name = own ? NameOfThread() : std::string();
  PartObject* message = Open(bytes, name);
  if (message == nullptr) {
    ++result.refused;
    return;
  }
  Visit(*message, work, result);
  if (work.setField) {
    message->SetHeader("X-Checked", "yes", 0);
    message->SetHeader("Subject", "another subject, checked", 1);
  }
  if (work.footer != nullptr) {
    message->SetFooterText(work.footer);
  }
  if (work.write) {
    if (own) {
      WriteOwn(message, name, result);
    } else {
      Write(message, result);
    }
  } else {
    host_.Discard(message);
  }
}

// Null when the library refuses the message. An empty name for one of the library's own.
PartObject* HostProgram::Open(std::string_view bytes, const std::string& ownName) const {
  if (ownName.empty()) {
    // With `copy` true the bytes are only read.
    return host_->OpenMessageFromMemory(const_cast<char*>(bytes.data()),
                                        static_cast<std::int64_t>(bytes.size()), true);
  }
  const FileOperations& files = host_.Files();
  void* const file = files.open(ownName.c_str(), "w+b");
  if (file == nullptr) {
    throw std::runtime_error("no memory file");
  }
  const bool written = files.write(bytes.data(), 1, bytes.size(), file) == bytes.size();
  files.close(file);
  PartObject* const message = written ? host_->OpenMessage(ownName.c_str()) : nullptr;
  if (message == nullptr) {
    files.remove(ownName.c_str());
  }
  return message;
}

void HostProgram::Visit(PartObject& part, const HostWork& work, HostResult& result) const {
  if (work.readFields) {
    ReadFields(part, result);
  }
  if (part.RewindChildren() == 1) {
    for (PartObject* child = nullptr; part.NextChild(&child) == 1;) {
      Visit(*child, work, result);
    }
    return;
  }
  ++result.leaves;
  if (work.decode) {
    Decode(part, result);
  }
  if (work.reencode) {
    part.SetModified();
  }
}

void HostProgram::Write(PartObject* message, HostResult& result) const {
  char* buffer = nullptr;
  const std::int64_t length = host_->CloseMessage(message, &buffer, true);
  if (length < 0) {
    ++result.refused;
    return;
  }
  result.writtenBytes += static_cast<std::uint64_t>(length);
  host_->ReleaseControl(kReleaseBuffer, buffer);
}

// Saves in memory, where the name stays, and reads the bytes from there.
void HostProgram::WriteOwn(PartObject* message, const std::string& name, HostResult& result) const {
  if (message->SaveAndClose(nullptr, nullptr, nullptr) != 1) {
    ++result.refused;
    return;
  }
  const FileOperations& files = host_.Files();
  struct stat status = {};
  void* const file =
      files.stat(name.c_str(), &status) == 0 ? files.open(name.c_str(), "rb") : nullptr;
  if (file == nullptr) {
    throw std::runtime_error("a saved message cannot be read");
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  const auto buffer = std::make_unique_for_overwrite<char[]>(size);
  result.writtenBytes += files.read(buffer.get(), 1, size, file);
  files.close(file);
  files.remove(name.c_str());
}

}  // namespace zevka::bench
