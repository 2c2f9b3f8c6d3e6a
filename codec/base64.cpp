#include "codec/base64.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace zevka {
namespace {

constexpr std::int16_t kSkipped = -1;
constexpr std::int16_t kInvalid = -2;
constexpr std::int16_t kPadding = -3;

using ClassTable = std::array<std::int16_t, 256>;

// The value of each data character, and one of the codes above for all others.
constexpr ClassTable MakeClassTable() {
  ClassTable table{};
  table.fill(kInvalid);
  for (const char blank : {'\t', '\n', '\r', ' '}) {
    table[static_cast<unsigned char>(blank)] = kSkipped;
  }
  table['='] = kPadding;
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    table[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::int16_t>(i);
  }
  return table;
}

constexpr ClassTable kClasses = MakeClassTable();

// The running decoder: the caller's state and the place in the output.
struct Decoder {
  Base64DecodeState state;
  unsigned char* out;
  unsigned char* outEnd;

  void Step(std::int16_t value);
  void StepData(unsigned digit);
  const unsigned char* DecodeGroups(const unsigned char* in, const unsigned char* end);
};

// KEEP(base64-vertical-blanks): VT and FF are faults, though TAB, LF and CR are not.
void Decoder::Step(std::int16_t value) {
  state.value = value;
  if (value >= 0) {
    StepData(static_cast<unsigned>(value));
  } else if (value == kInvalid) {
    ++state.invalidCount;
  } else if (value == kPadding) {
    ++state.padCount;
  }
}

void Decoder::StepData(unsigned digit) {
  // KEEP(base64-data-after-padding): padding ends nothing; data behind it makes it a fault and
  // takes its place in the group.
  state.invalidCount += state.padCount;
  state.padCount = 0;
  if (state.phase == 0) {
    state.partial = static_cast<std::uint8_t>(digit << 2);
    state.phase = 1;
    return;
  }
  // KEEP(base64-full-room): without room a character is used up and the group stays where it is.
  if (out == outEnd) {
    return;
  }
  const unsigned keptBits = 2U * state.phase;  // of this digit that belong to the byte being made
  *out++ = static_cast<unsigned char>(state.partial | (digit >> (6 - keptBits)));
  // The last digit of a group leaves nothing behind; `partial` keeps its bits until the next one.
  if (state.phase < 3) {
    state.partial = static_cast<std::uint8_t>(digit << (2 + keptBits));
  }
  state.phase = static_cast<std::uint16_t>((state.phase + 1) % 4);
}

// Decodes whole groups of four data characters in a row while nothing else comes in between: the
// same as four steps each. Begins between two groups; gives the first character that was not used.
const unsigned char* Decoder::DecodeGroups(const unsigned char* in, const unsigned char* end) {
  const unsigned char* const begin = in;
  unsigned char* to = out;
  unsigned char* const toEnd = outEnd;
  while (end - in >= 4 && toEnd - to >= 3) {
    const int first = kClasses[in[0]];
    const int second = kClasses[in[1]];
    const int third = kClasses[in[2]];
    const int fourth = kClasses[in[3]];
    if ((first | second | third | fourth) < 0) {
      break;
    }
    const auto group =
        static_cast<unsigned>((first << 18) | (second << 12) | (third << 6) | fourth);
    to[0] = static_cast<unsigned char>(group >> 16);
    to[1] = static_cast<unsigned char>(group >> 8);
    to[2] = static_cast<unsigned char>(group);
    in += 4;
    to += 3;
  }
  if (in != begin) {
    out = to;
    state.value = kClasses[in[-1]];
    state.partial = static_cast<std::uint8_t>(kClasses[in[-2]] << 6);
  }
  return in;
}

// A group of four characters and the line end that may stand before it.
constexpr std::ptrdiff_t kRoomPerGroup = 6;
constexpr std::size_t kLongestTerminator = 2;
constexpr std::uint16_t kLineLength = 72;

// The running encoder: the place in the output and the column there.
struct Encoder {
  std::string_view terminator;
  unsigned char* out;
  unsigned char* outEnd;
  std::uint16_t column;

  // KEEP(base64-room-drops): what finds no room is dropped without a word.
  bool HasRoom() const { return outEnd - out >= kRoomPerGroup; }
  void Emit(const unsigned char* bytes);
};

inline void Encoder::Emit(const unsigned char* bytes) {
  // KEEP(base64-line-72): the line end waits for the group behind a full line, so that no text ends
  // with one.
  if (column == kLineLength) {
    out = std::copy(terminator.begin(), terminator.end(), out);
    column = 0;
  }
  column = static_cast<std::uint16_t>(column + 4);
  const unsigned group =
      (static_cast<unsigned>(bytes[0]) << 16) | (static_cast<unsigned>(bytes[1]) << 8) | bytes[2];
  out[0] = static_cast<unsigned char>(kBase64Alphabet[group >> 18]);
  out[1] = static_cast<unsigned char>(kBase64Alphabet[(group >> 12) & 63]);
  out[2] = static_cast<unsigned char>(kBase64Alphabet[(group >> 6) & 63]);
  out[3] = static_cast<unsigned char>(kBase64Alphabet[group & 63]);
  out += 4;
}

// Encodes whole groups while there is room, with the encoder in locals.
void EmitGroups(Encoder& encoder, std::span<const unsigned char> input) {
  Encoder own = encoder;
  const unsigned char* in = input.data();
  const unsigned char* const end = in + input.size();
  for (; end - in >= 3 && own.HasRoom(); in += 3) {
    own.Emit(in);
  }
  encoder = own;
}

// Encodes the pending bytes as the last group.
void Flush(Base64EncodeState& state, Encoder& encoder) {
  const std::size_t count = state.pendingCount;
  state.pendingCount = 0;
  if (count == 0 || !encoder.HasRoom()) {
    return;
  }
  std::fill(state.pending + count, std::end(state.pending), static_cast<unsigned char>(0));
  encoder.Emit(state.pending);
  std::fill(encoder.out - (3 - count), encoder.out, static_cast<unsigned char>('='));
}

// Completes the pending group, if there is one and the input suffices, and encodes the whole groups
// behind it; the rest is pending.
void EncodeInput(Base64EncodeState& state, Encoder& encoder, std::span<const unsigned char> input) {
  if (state.pendingCount != 0 && state.pendingCount + input.size() >= 3) {
    const std::size_t missing = 3U - state.pendingCount;
    std::copy_n(input.begin(), missing, state.pending + state.pendingCount);
    EmitGroups(encoder, state.pending);
    state.pendingCount = 0;
    input = input.subspan(missing);
  }
  if (state.pendingCount == 0) {
    EmitGroups(encoder, input);
    input = input.last(input.size() % 3);
  }
  std::copy(input.begin(), input.end(), state.pending + state.pendingCount);
  state.pendingCount = static_cast<std::uint16_t>(state.pendingCount + input.size());
}

}  // namespace

std::size_t Base64DecodeChunk(Base64DecodeState& state, std::span<const unsigned char> input,
                              std::span<unsigned char> output) {
  Decoder decoder{state, output.data(), output.data() + output.size()};
  decoder.state.invalidCount = 0;
  const unsigned char* in = input.data();
  const unsigned char* const end = in + input.size();
  while (in != end) {
    if (decoder.state.phase == 0 && decoder.state.padCount == 0) {
      in = decoder.DecodeGroups(in, end);
      if (in == end) {
        break;
      }
    }
    decoder.Step(kClasses[*in++]);
  }
  decoder.state.invalidTotal += decoder.state.invalidCount;
  state = decoder.state;
  return static_cast<std::size_t>(decoder.out - output.data());
}

void Base64ResetDecoder(Base64DecodeState& state) {
  state = Base64DecodeState{};
}

std::size_t Base64EncodeChunk(Base64EncodeState& state, std::string_view lineTerminator,
                              std::span<const unsigned char> input,
                              std::span<unsigned char> output) {
  Encoder encoder{lineTerminator.substr(0, kLongestTerminator), output.data(),
                  output.data() + output.size(), state.column};
  if (input.empty()) {
    Flush(state, encoder);
  } else {
    EncodeInput(state, encoder, input);
  }
  state.column = encoder.column;
  return static_cast<std::size_t>(encoder.out - output.data());
}

}  // namespace zevka
