#include "mime/body_encoder.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "codec/base64.h"
#include "codec/quoted_printable_lines.h"
#include "mime/block_reader.h"

namespace zevka {
namespace {

constexpr std::size_t kBase64Room = 8192;  // bytes; more than a block encodes to

std::string_view AsText(std::span<const unsigned char> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Feeds a decoded body to the line encoder, byte by byte, and finds its line breaks.
class QuotedPrintableWriter {
 public:
  QuotedPrintableWriter(OpenFile& output, const LineEnd& lineEnd)
      : output_(output), breakBytes_(lineEnd.established) {
    const std::string_view terminator = LineEndBytes(lineEnd.firstStyle);
    std::copy(terminator.begin(), terminator.end(), state_.terminator);
    state_.terminatorLength = static_cast<std::uint32_t>(terminator.size());
  }

  // Bytes that begin a line break are held back until it is whole or breaks off.
  bool Put(char byte) {
    if (byte != breakBytes_[held_]) {
      if (!PutHeld()) {
        return false;
      }
      if (byte != breakBytes_[0]) {
        return PutData(byte);
      }
    }
    if (++held_ < breakBytes_.size()) {
      return true;
    }
    held_ = 0;
    return QpEncodeByte(output_.Handle(), 0, state_, true, false) == 0;
  }

  bool Finish() {
    if (!PutHeld() || QpEncodeByte(output_.Handle(), 0, state_, false, true) != 0) {
      return false;
    }
    // KEEP(qp-line-end-at-the-end): a text that does not end with a line break gets one.
    return state_.lineStarted == 0 || output_.Write(breakBytes_);
  }

 private:
  bool PutData(char byte) {
    return QpEncodeByte(output_.Handle(), static_cast<unsigned char>(byte), state_, false, false) ==
           0;
  }

  bool PutHeld() {
    for (std::size_t i = 0; i < held_; ++i) {
      if (!PutData(breakBytes_[i])) {
        return false;
      }
    }
    held_ = 0;
    return true;
  }

  OpenFile& output_;
  std::string_view breakBytes_;  // the established line end
  std::size_t held_ = 0;         // how many of them were seen and not passed on
  QpLineState state_{};
};

}  // namespace

bool EncodeBase64Body(OpenFile& output, OpenFile& decoded, const LineEnd& lineEnd) {
  const std::string_view terminator = LineEndBytes(lineEnd.firstStyle);
  std::vector<unsigned char> buffer(kBlockSize + kBase64Room);
  const std::span<unsigned char> item = std::span(buffer).first(kBlockSize);
  const std::span<unsigned char> room = std::span(buffer).subspan(kBlockSize);
  Base64EncodeState state{};
  std::size_t count = item.size();
  while (count == item.size()) {
    count = decoded.Read(item.data(), item.size());
    // An empty rest is no flush: that comes once, at the end.
    const std::size_t length =
        count == 0 ? 0 : Base64EncodeChunk(state, terminator, item.first(count), room);
    if (!output.Write(AsText(room.first(length)))) {
      return false;
    }
  }
  if (decoded.Failed()) {
    return false;
  }
  const std::size_t length = Base64EncodeChunk(state, terminator, {}, room);
  return output.Write(AsText(room.first(length))) && output.Write(lineEnd.established);
}

int EncodeQuotedPrintableBody(OpenFile& output, OpenFile& decoded, const LineEnd& lineEnd) {
  QuotedPrintableWriter writer(output, lineEnd);
  std::vector<char> block(kBlockSize);
  std::size_t count = block.size();
  while (count == block.size()) {
    count = decoded.Read(block.data(), block.size());
    for (std::size_t i = 0; i < count; ++i) {
      if (!writer.Put(block[i])) {
        return -1;
      }
    }
  }
  return !decoded.Failed() && writer.Finish() ? 0 : -1;
}

}  // namespace zevka
