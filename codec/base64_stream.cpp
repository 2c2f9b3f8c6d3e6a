#include "codec/base64_stream.h"

#include <array>
#include <cstddef>

#include "codec/base64.h"
#include "fileio/file_operations.h"

namespace zevka {
namespace {

constexpr std::uint32_t kLineLength = 76;

// Sixteen lines with their line ends.
constexpr std::size_t kBlockBytes = 16 * (std::size_t{kLineLength} + 1);

// Text on its way to the file, a block at a time.
class Block {
 public:
  explicit Block(void* file) : file_(file) {}

  void Put(char c) {
    if (used_ == bytes_.size()) {
      Send();
    }
    bytes_[used_++] = c;
  }

  void Send() {
    if (used_ != 0) {
      FileWrite(bytes_.data(), used_, 1, file_);
      used_ = 0;
    }
  }

 private:
  void* file_;
  std::size_t used_ = 0;
  std::array<char, kBlockBytes> bytes_;
};

// The digits of the first `count` sextets of a group.
void PutDigits(Block& block, std::uint32_t group, int count) {
  for (int i = 0; i < count; ++i) {
    block.Put(kBase64Alphabet[(group >> (18 - 6 * i)) & 63]);
  }
}

void EncodeInput(Block& block, Base64StreamState& state) {
  for (std::int32_t i = 0; i < state.inputLength; ++i) {
    state.accumulator |= static_cast<std::uint32_t>(state.input[i]) << (16 - 8 * state.count);
    state.count = (state.count + 1) % 3;
    if (state.count != 0) {
      continue;
    }
    PutDigits(block, state.accumulator, 4);
    state.accumulator = 0;
    state.column = (state.column + 4) % kLineLength;
    // KEEP(base64-stream-lf): a bare LF behind every full line, the last one included.
    if (state.column == 0) {
      block.Put('\n');
    }
  }
}

void PutLastGroup(Block& block, const Base64StreamState& state) {
  if (state.count == 0) {
    return;
  }
  const int digits = static_cast<int>(state.count) + 1;
  PutDigits(block, state.accumulator, digits);
  for (int i = digits; i < 4; ++i) {
    block.Put('=');
  }
}

}  // namespace

int Base64WriteStream(void* file, Base64StreamState* state, std::string_view trailer) {
  if (state == nullptr) {
    return -1;
  }
  Block block(file);
  if (state->inputLength != 0) {
    EncodeInput(block, *state);
    block.Send();
    return 0;
  }
  PutLastGroup(block, *state);
  block.Send();
  if (!trailer.empty()) {
    FileWrite(trailer.data(), trailer.size(), 1, file);
  }
  return 0;
}

}  // namespace zevka
