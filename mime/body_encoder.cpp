#include "mime/body_encoder.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>
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

std::span<const unsigned char> AsBytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// Encodes a decoded body, finds its line breaks, and writes the text in blocks. No write is larger
// than what a memory file has room for after a write of a line each, so that its capacity, which
// counts against the budget, does not depend on how the text is cut into writes.
class QuotedPrintableWriter {
 public:
  QuotedPrintableWriter(OpenFile& output, const LineEnd& lineEnd)
      : output_(output), breakBytes_(lineEnd.established), block_(kBlockSize) {
    const std::string_view terminator = LineEndBytes(lineEnd.firstStyle);
    std::copy(terminator.begin(), terminator.end(), state_.terminator);
    state_.terminatorLength = static_cast<std::uint32_t>(terminator.size());
  }

  // Bytes that begin a line break are held back until it is whole or breaks off.
  bool Put(std::string_view body) {
    while (!body.empty()) {
      if (held_ == 0) {
        const std::string_view text = body.substr(0, body.find(breakBytes_[0]));
        if (!PutText(text)) {
          return false;
        }
        body.remove_prefix(text.size());
        if (body.empty()) {
          break;
        }
      }
      if (!PutByte(body.front())) {
        return false;
      }
      body.remove_prefix(1);
    }
    return true;
  }

  bool Finish() {
    if (!PutHeld() || !EndLine(false) || !SendBlock()) {
      return false;
    }
    // KEEP(qp-line-end-at-the-end): a text that does not end with a line break gets one.
    return state_.lineStarted == 0 || output_.Write(breakBytes_);
  }

 private:
  bool PutByte(char byte) {
    if (byte != breakBytes_[held_]) {
      if (!PutHeld()) {
        return false;
      }
      if (byte != breakBytes_[0]) {
        return PutText({&byte, 1});
      }
    }
    if (++held_ < breakBytes_.size()) {
      return true;
    }
    held_ = 0;
    return EndLine(true);
  }

  bool PutHeld() {
    const std::size_t length = std::exchange(held_, 0);
    return PutText(breakBytes_.substr(0, length));
  }

  // No line break is in the text.
  bool PutText(std::string_view text) {
    while (!text.empty()) {
      const std::string_view piece = text.substr(0, kPiece);
      if (!MakeRoom(QpTextRoom(piece.size()))) {
        return false;
      }
      used_ += QpEncodeText(AsBytes(piece), state_, Room());
      text.remove_prefix(piece.size());
    }
    return true;
  }

  bool EndLine(bool lineBreak) {
    if (!MakeRoom(kQpLineEndRoom)) {
      return false;
    }
    used_ += QpEndLine(state_, lineBreak, Room());
    return true;
  }

  std::span<char> Room() { return std::span(block_).subspan(used_); }

  bool MakeRoom(std::size_t bytes) { return block_.size() - used_ >= bytes || SendBlock(); }

  bool SendBlock() {
    const std::size_t length = std::exchange(used_, 0);
    return output_.Write({block_.data(), length});
  }

  // Bytes encoded at a time: what they become fits an empty block.
  static constexpr std::size_t kPiece = 512;
  static_assert(QpTextRoom(kPiece) <= kBlockSize);

  OpenFile& output_;
  std::string_view breakBytes_;  // the established line end
  std::size_t held_ = 0;         // how many of them were seen and not passed on
  QpLineState state_{};
  std::vector<char> block_;
  std::size_t used_ = 0;  // bytes of the block
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
    if (!writer.Put({block.data(), count})) {
      return -1;
    }
  }
  return !decoded.Failed() && writer.Finish() ? 0 : -1;
}

}  // namespace zevka
