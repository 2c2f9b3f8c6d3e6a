#include "mime/transfer_body.h"

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "codec/base64.h"
#include "codec/quoted_printable.h"
#include "mime/block_reader.h"

namespace zevka {
namespace {

using Bytes = std::span<const unsigned char>;
using Room = std::span<unsigned char>;

constexpr std::size_t kDecodedRoom = 16384;  // bytes; more than any chunk decodes to

std::size_t DecodeQuotedPrintable(PartState& part, Bytes input, Room output) {
  const DecodeState before = part.decoding;
  const std::size_t count = QpDecodeChunk(part.decoding, part.lineEnd.firstStyle, input, output);
  if (part.decoding.base64.invalidTotal == before.base64.invalidTotal) {
    return count;
  }
  // The body may use another line end than the first line of the message: the last one read has a
  // try. KEEP(second-line-end-stays): it is the part's first one afterwards.
  part.decoding = before;
  part.lineEnd.firstStyle = part.lineEnd.lastStyle;
  return QpDecodeChunk(part.decoding, part.lineEnd.firstStyle, input, output);
}

std::size_t DecodeChunk(PartState& part, Bytes input, Room output) {
  if (part.kind.encoding == TransferEncoding::kQuotedPrintable) {
    return DecodeQuotedPrintable(part, input, output);
  }
  return Base64DecodeChunk(part.decoding.base64, input, output);
}

Bytes AsBytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string_view AsText(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Where the bytes of one transfer go; a sink that is not wanted stays closed.
struct Sinks {
  OpenFile raw;
  OpenFile decoded;
};

bool IsCoded(const PartState& part) {
  return part.kind.encoding == TransferEncoding::kQuotedPrintable ||
         part.kind.encoding == TransferEncoding::kBase64;
}

bool PassOn(PartState& part, const OpenFile& source, Sinks& sinks, std::string_view chunk,
            Room room) {
  if (sinks.raw && !sinks.raw.WriteTaken(source, chunk)) {
    return false;
  }
  if (!sinks.decoded) {
    return true;
  }
  if (room.empty()) {
    return sinks.decoded.WriteTaken(source, chunk);
  }
  return sinks.decoded.Write(AsText(room.first(DecodeChunk(part, AsBytes(chunk), room))));
}

// What the encoded body will take decoded, as far as it can be told. One large enough is worth it.
void ExpectDecodedSize(const PartState& part, const OpenFile& source, const OpenFile& decoded) {
  const std::uint64_t size = FileMemorySize(source.Handle());
  if (size > kBlockSize && IsCoded(part)) {
    const bool base64 = part.kind.encoding == TransferEncoding::kBase64;
    FileExpectSize(decoded.Handle(), base64 ? size / 4 * 3 + 3 : size);
  }
}

void PumpBody(PartState& part, OpenFile& source, Sinks& sinks) {
  std::string spare;
  std::array<unsigned char, kDecodedRoom> decoded;
  const Room room = sinks.decoded && IsCoded(part) ? Room(decoded) : Room();
  for (;;) {
    const std::string_view chunk = source.Take(kBlockSize, spare);
    if (chunk.empty() || !PassOn(part, source, sinks, chunk, room) || chunk.size() < kBlockSize) {
      return;
    }
  }
}

// KEEP(fault-fields-appended): the fields stand at the end, below any signature, and appear when a
// host asks for the decoded body.
void NoteQuotedPrintableFaults(PartState& part) {
  QpDecodeChunk(part.decoding, part.lineEnd.firstStyle, {}, {});
  const std::uint64_t faults = part.decoding.base64.invalidTotal;
  if (faults == 0) {
    return;
  }
  AppendNode(part.headers, "X-WrongBodyEncoding", " 1");
  std::string count(" ");
  count += std::to_string(faults);
  AppendNode(part.headers, "X-NoCharsWrongEncoded", count);
  part.kind.wrongBodyEncoding = true;
}

}  // namespace

// KEEP(long-names-lose-bodies): a body file that cannot be opened is done without, silently; so it
// is with names that are too long.
int TransferBody(PartState& part, OpenFile* openMessage, bool writeRaw, bool decode) {
  OpenFile ownSource;
  Sinks sinks;
  if (openMessage == nullptr) {
    ownSource = OpenFile(part.files.encoded, "rb");
  }
  OpenFile& source = openMessage == nullptr ? ownSource : *openMessage;
  if (!source) {
    return 1;
  }
  if (writeRaw) {
    sinks.raw = OpenFile(part.files.encoded, "wb");
    if (!sinks.raw || !source.Seek(part.bodyStart)) {
      return 1;
    }
  }
  if (decode) {
    part.decoding = DecodeState{};
    sinks.decoded = OpenFile(part.files.decoded, "wb");
    if (!sinks.decoded) {
      return 1;
    }
    ExpectDecodedSize(part, source, sinks.decoded);
  }
  PumpBody(part, source, sinks);
  // KEEP(base64-faults-leave-no-marks): text behind base64 is common, and no reason for a mark.
  if (decode && part.kind.encoding == TransferEncoding::kQuotedPrintable) {
    NoteQuotedPrintableFaults(part);
  }
  return 1;
}

void EnsureDecoded(PartState& part) {
  if (part.needsDecode) {
    TransferBody(part, nullptr, false, true);
    part.needsDecode = false;
  }
}

}  // namespace zevka
