#include "codec/base64.h"

#include <algorithm>
#include <array>

namespace zevka {
namespace {

constexpr std::uint16_t kSkipped = 0xFFFF;
constexpr std::uint16_t kInvalid = 0xFFFE;
constexpr std::uint16_t kPadding = 0xFFFD;
constexpr std::int16_t kHighByte = -2;

constexpr std::size_t kCharacters = 128;
constexpr std::uint16_t kLineLength = 72;  // characters
constexpr std::size_t kGroupRoom = 6;      // four characters and a line terminator

// KEEP(base64-vt-ff-invalid): vertical tab and form feed are no white space here.
constexpr std::array<std::uint16_t, kCharacters> MakeClasses() {
  std::array<std::uint16_t, kCharacters> classes{};
  classes.fill(kInvalid);
  for (std::size_t value = 0; value < kBase64Alphabet.size(); ++value) {
    classes[static_cast<unsigned char>(kBase64Alphabet[value])] = static_cast<std::uint16_t>(value);
  }
  for (const char blank : {'\t', '\n', '\r', ' '}) {
    classes[static_cast<unsigned char>(blank)] = kSkipped;
  }
  classes['='] = kPadding;
  return classes;
}

constexpr std::array<std::uint16_t, kCharacters> kClasses = MakeClasses();

// Takes one data character. Returns whether a byte was completed, into `byte`.
bool TakeValue(Base64DecodeState& state, unsigned int value, unsigned char& byte) {
  const unsigned int partial = state.partial;
  switch (state.phase) {
    case 0:
      state.partial = static_cast<std::uint8_t>(value << 2);
      state.phase = 1;
      return false;
    case 1:
      byte = static_cast<unsigned char>(partial | (value >> 4));
      state.partial = static_cast<std::uint8_t>((value & 15U) << 4);
      state.phase = 2;
      return true;
    case 2:
      byte = static_cast<unsigned char>(partial | (value >> 2));
      state.partial = static_cast<std::uint8_t>((value & 3U) << 6);
      state.phase = 3;
      return true;
    default:
      byte = static_cast<unsigned char>(partial | value);
      state.phase = 0;
      return true;
  }
}

// Encodes whole groups into one output buffer.
class GroupWriter {
 public:
  GroupWriter(Base64EncodeState& state, std::string_view lineTerminator, std::span<unsigned char> output)
      : state_(state), lineTerminator_(lineTerminator), output_(output) {}

  std::size_t Written() const { return written_; }

  void Write(const unsigned char* group) {
    if (full_ || written_ + kGroupRoom > output_.size()) {
      full_ = true;
      return;
    }
    if (state_.column == kLineLength) {
      for (const char c : lineTerminator_) {
        output_[written_++] = static_cast<unsigned char>(c);
      }
      state_.column = 0;
    }
    state_.column = static_cast<std::uint16_t>(state_.column + 4);
    const unsigned int bits = static_cast<unsigned int>(group[0]) << 16 |
                              static_cast<unsigned int>(group[1]) << 8 | group[2];
    for (const unsigned int shift : {18U, 12U, 6U, 0U}) {
      output_[written_++] = static_cast<unsigned char>(kBase64Alphabet[(bits >> shift) & 63U]);
    }
  }

  void PadLast(std::size_t count) {
    if (!full_) {
      std::fill_n(output_.data() + written_ - count, count, static_cast<unsigned char>('='));
    }
  }

 private:
  Base64EncodeState& state_;
  std::string_view lineTerminator_;
  std::span<unsigned char> output_;
  std::size_t written_ = 0;
  bool full_ = false;
};

}  // namespace

std::size_t Base64DecodeChunk(Base64DecodeState& state, std::span<const unsigned char> input,
                              std::span<unsigned char> output) {
  std::size_t written = 0;
  state.invalidCount = 0;
  for (const unsigned char c : input) {
    const std::uint16_t value = c < kCharacters ? kClasses[c] : kInvalid;
    state.value = c < kCharacters ? static_cast<std::int16_t>(value) : kHighByte;
    if (value == kSkipped) {
      continue;
    }
    if (value == kInvalid) {
      ++state.invalidCount;
      continue;
    }
    if (value == kPadding) {
      ++state.padCount;
      continue;
    }
    // KEEP(base64-data-after-padding): decoding goes on behind padding, which then counts as invalid.
    state.invalidCount += state.padCount;
    state.padCount = 0;
    if (state.phase != 0 && written == output.size()) {
      continue;
    }
    unsigned char byte = 0;
    if (TakeValue(state, value, byte)) {
      output[written++] = byte;
    }
  }
  state.invalidTotal += state.invalidCount;
  return written;
}

void Base64ResetDecoder(Base64DecodeState& state) { state = Base64DecodeState{}; }

Base64DecodeState Base64SaveDecoder(const Base64DecodeState& state) { return state; }

void Base64RestoreDecoder(Base64DecodeState& state, const Base64DecodeState& saved) { state = saved; }

std::size_t Base64EncodeChunk(Base64EncodeState& state, std::string_view lineTerminator,
                              std::span<const unsigned char> input, std::span<unsigned char> output) {
  GroupWriter groups(state, lineTerminator, output);
  constexpr std::size_t kGroup = 3;
  if (input.empty()) {
    if (state.pendingCount == 0) {
      return 0;
    }
    std::fill(state.pending + state.pendingCount, state.pending + kGroup, static_cast<unsigned char>(0));
    groups.Write(state.pending);
    groups.PadLast(kGroup - state.pendingCount);
    state.pendingCount = 0;
    return groups.Written();
  }
  if (state.pendingCount > 0 && input.size() >= kGroup - state.pendingCount) {
    const std::size_t missing = kGroup - state.pendingCount;
    std::copy_n(input.data(), missing, state.pending + state.pendingCount);
    groups.Write(state.pending);
    state.pendingCount = 0;
    input = input.subspan(missing);
  }
  while (state.pendingCount == 0 && input.size() >= kGroup) {
    groups.Write(input.data());
    input = input.subspan(kGroup);
  }
  std::copy(input.begin(), input.end(), state.pending + state.pendingCount);
  state.pendingCount = static_cast<std::uint16_t>(state.pendingCount + input.size());
  return groups.Written();
}

}  // namespace zevka
