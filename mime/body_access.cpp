#include "mime/body_access.h"

#include <sys/stat.h>

#include "fileio/file_helpers.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "mime/transfer_body.h"

namespace zevka {
namespace {

std::uint64_t FileSize(const std::string& name) {
  struct stat status {};
  return FileStat(name.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

std::optional<std::uint64_t> BodySize(const PartState& part) {
  if (part.removed || !part.files.own) {
    return std::nullopt;
  }
  if (const std::optional<std::uint64_t> own = RegularFileSize(*part.files.own)) {
    return own;
  }
  // KEEP(body-size-needs-a-decoded-file): nothing is decoded to answer this.
  struct stat status {};
  if (FileStat((*part.files.own + "_d").c_str(), &status) != 0) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(status.st_size);
}

const std::string* DecodedBodyName(PartState& part) {
  if (part.removed || part.files.decoded.empty()) {
    return nullptr;
  }
  EnsureDecoded(part);
  return &part.files.decoded;
}

// KEEP(write-encoded-needs-the-file): also for replacing it; the decoded body is made where it is
// missing.
const std::string* EncodedBodyName(const PartState& part) {
  if (part.removed || part.files.encoded.empty() || !RegularFileSize(part.files.encoded)) {
    return nullptr;
  }
  return &part.files.encoded;
}

const std::string* BodyName(PartState& part, BodyKind kind) {
  return kind == BodyKind::kDecoded ? DecodedBodyName(part) : EncodedBodyName(part);
}

std::uint64_t StoredBodySize(PartState& part, BodyKind kind) {
  const std::string* name = BodyName(part, kind);
  return name == nullptr ? 0 : FileSize(*name);
}

std::uint64_t ReadBody(PartState& part, BodyKind kind, void* buf, std::uint64_t sizeBytes,
                       std::int64_t offsetBytes) {
  const std::string* name = BodyName(part, kind);
  if (name == nullptr) {
    return 0;
  }
  OpenFile file(*name, "r");
  if (!file || (offsetBytes != 0 && !file.Seek(offsetBytes))) {
    return 0;
  }
  return file.Read(buf, sizeBytes);
}

std::uint64_t WriteBody(PartState& part, BodyKind kind, const void* buf, std::uint64_t sizeBytes) {
  const std::string* name = BodyName(part, kind);
  if (name == nullptr) {
    return 0;
  }
  // KEEP(write-encoded-leaves-the-decoded-body): one body does not follow the other.
  OpenFile file(*name, "w+");
  if (!file) {
    return 0;
  }
  std::uint64_t written = FileWrite(buf, 1, sizeBytes, file.Handle());
  if (!file.CloseWritten() && written == sizeBytes && written != 0) {
    --written;  // how much of the end is missing is not known
  }
  // KEEP(encoded-write-unmarked): only a new decoded body has the body encoded anew.
  if (kind == BodyKind::kDecoded && written == sizeBytes) {
    part.modified = true;
  }
  return written;
}

}  // namespace zevka
