#include "bench/host_program.h"

#include <unistd.h>
#include <zevka/packer.h>

#include <stdexcept>

namespace zevka::bench {
namespace {

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

HostProgram::HostProgram() {
  if (::chdir(folder_.Path().c_str()) != 0) {
    throw std::runtime_error("no private folder");
  }
}

void HostProgram::Do(std::string_view bytes, const HostWork& work, HostResult& result) const {
  // With `copy` true the bytes are only read.
  PartObject* message = host_->OpenMessageFromMemory(const_cast<char*>(bytes.data()),
                                                     static_cast<std::int64_t>(bytes.size()), true);
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
    Write(message, result);
  } else {
    host_.Discard(message);
  }
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

}  // namespace zevka::bench
