// What a host can ask of a part's bodies: their sizes, their paths, and their bytes, to read and to
// replace.
//
// Threads: the caller holds the part's lock, but for BodySize, which takes none.
#ifndef ZEVKA_MIME_BODY_ACCESS_H
#define ZEVKA_MIME_BODY_ACCESS_H

#include <cstdint>
#include <optional>
#include <string>

#include "mime/part_state.h"

namespace zevka {

// Which of a part's two bodies.
enum class BodyKind { kDecoded, kEncoded };

// The size of the part's own file in bytes, else of its decoded body, if it was made.
std::optional<std::uint64_t> BodySize(const PartState& part);

// The path of a body, the decoded one made if need be. Null on a removed part, or one without
// bodies.
const std::string* DecodedBodyName(PartState& part);
// As above; null as well when the file does not exist.
const std::string* EncodedBodyName(const PartState& part);
const std::string* BodyName(PartState& part, BodyKind kind);

// The size of a body in bytes; 0 when there is none.
std::uint64_t StoredBodySize(PartState& part, BodyKind kind);

// Reads up to sizeBytes from offsetBytes on. Result: the bytes read; 0 for any failure.
std::uint64_t ReadBody(PartState& part, BodyKind kind, void* buf, std::uint64_t sizeBytes,
                       std::int64_t offsetBytes);

// Replaces a body. Result: the bytes written. A decoded body that was written whole marks the part
// modified.
std::uint64_t WriteBody(PartState& part, BodyKind kind, const void* buf, std::uint64_t sizeBytes);

}  // namespace zevka

#endif  // ZEVKA_MIME_BODY_ACCESS_H
