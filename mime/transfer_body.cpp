#include "mime/transfer_body.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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
  if (part.kind.encoding == TransferEncoding::kBase64) {
    return Base64DecodeChunk(part.decoding.base64, input, output);
  }
  std::copy(input.begin(), input.end(), output.begin());
  return input.size();
}

std::string_view AsText(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Where the bytes of one transfer go; a sink that is not wanted stays closed.
struct Sinks {
  OpenFile raw;
  OpenFile decoded;
};

bool PassOn(PartState& part, Sinks& sinks, Bytes chunk, Room room) {
  if (sinks.raw && !sinks.raw.Write(AsText(chunk))) {
    return false;
  }
  if (!sinks.decoded) {
    return true;
  }
  const std::size_t count = DecodeChunk(part, chunk, room);
  return sinks.decoded.Write(AsText(room.first(count)));
}

void PumpBody(PartState& part, OpenFile& source, Sinks& sinks) {
  std::vector<unsigned char> buffer(kBlockSize + (sinks.decoded ? kDecodedRoom : 0));
  const std::span<unsigned char> chunk = std::span(buffer).first(kBlockSize);
  const std::span<unsigned char> room = std::span(buffer).subspan(kBlockSize);
  for (;;) {
    const std::size_t count = source.Read(chunk.data(), chunk.size());
    if (count == 0 || !PassOn(part, sinks, chunk.first(count), room) || count < chunk.size()) {
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
