#include "codec/base64.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "codec/base64_kernels.h"
#include "codec/base64_tables.h"

namespace zevka {
namespace {

// Digits that are squeezed at a time.
constexpr std::size_t kBatch = 4096;

// Shorter texts, such as words of header fields, are decoded quicker without the kernels.
constexpr std::size_t kShort = 32;

// Characters that are decoded one by one behind a place where the kernels stopped.
constexpr std::ptrdiff_t kStretch = 64;

// The running decoder: the caller's state and the place in the output.
struct Decoder {
  Base64DecodeState state;
  unsigned char* out;
  unsigned char* outEnd;

  void Step(std::int16_t value);
  void StepData(unsigned digit);
  bool BetweenGroups() const { return state.phase == 0 && state.padCount == 0; }
  const unsigned char* DecodeGroups(const unsigned char* in, const unsigned char* end);
  const unsigned char* DecodeStretch(const unsigned char* in, const unsigned char* end,
                                     std::ptrdiff_t least);
  std::size_t Pack(const Base64Kernels& kernels, const unsigned char* digits, std::size_t count);
  const unsigned char* DecodeBatches(const Base64Kernels& kernels, const unsigned char* in,
                                     const unsigned char* end);
};

// KEEP(base64-vertical-blanks): VT and FF are faults, though TAB, LF and CR are not.
void Decoder::Step(std::int16_t value) {
  state.value = value;
  if (value >= 0) {
    StepData(static_cast<unsigned>(value));
  } else if (value == kBase64Invalid) {
    ++state.invalidCount;
  } else if (value == kBase64Padding) {
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
    const int first = kBase64Classes[in[0]];
    const int second = kBase64Classes[in[1]];
    const int third = kBase64Classes[in[2]];
    const int fourth = kBase64Classes[in[3]];
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
    state.value = kBase64Classes[in[-1]];
    state.partial = static_cast<std::uint8_t>(kBase64Classes[in[-2]] << 6);
  }
  return in;
}

// Decodes at least that many characters, and those behind them up to where a group may begin.
const unsigned char* Decoder::DecodeStretch(const unsigned char* in, const unsigned char* end,
                                            std::ptrdiff_t least) {
  const unsigned char* const enough = in + std::min(least, end - in);
  while (in != end && (in < enough || !BetweenGroups())) {
    if (BetweenGroups()) {
      in = DecodeGroups(in, enough);
      if (in == enough) {
        continue;
      }
    }
    Step(kBase64Classes[*in++]);
  }
  return in;
}

// Writes the whole groups of the digits that there is room for; gives the digits used.
std::size_t Decoder::Pack(const Base64Kernels& kernels, const unsigned char* digits,
                          std::size_t count) {
  const std::size_t groups = std::min(count / 4, static_cast<std::size_t>(outEnd - out) / 3);
  if (groups != 0) {
    kernels.pack(digits, groups, out);
    out += 3 * groups;
    state.partial = static_cast<std::uint8_t>(digits[4 * groups - 2] << 6);
  }
  return 4 * groups;
}

// Decodes up to the first character that is neither data nor white space, or until the room is
// full. Begins between two groups; gives the first character that was not used.
const unsigned char* Decoder::DecodeBatches(const Base64Kernels& kernels, const unsigned char* in,
                                            const unsigned char* end) {
  std::array<unsigned char, 3 + kBatch + kSqueezeSlack> digits;
  const unsigned char* const begin = in;
  std::size_t held = 0;  // digits of a group that is not whole yet
  for (bool more = true; more;) {
    const unsigned char* const batchEnd =
        in + std::min(static_cast<std::ptrdiff_t>(kBatch), end - in);
    const Base64Squeezed squeezed = kernels.squeeze(in, batchEnd, digits.data() + held);
    const std::size_t count = held + squeezed.digits;
    const std::size_t used = Pack(kernels, digits.data(), count);
    in = squeezed.in;
    held = count - used;
    more = in == batchEnd && in != end && held < 4;
    std::copy_n(digits.data() + used, held, digits.data());
  }
  for (std::size_t i = 0; i < held; ++i) {
    StepData(digits[i]);
  }
  if (in != begin) {
    state.value = kBase64Classes[in[-1]];
  }
  return in;
}

// A group of four characters and the line end that may stand before it.
constexpr std::ptrdiff_t kRoomPerGroup = 6;
constexpr std::size_t kLongestTerminator = 2;
constexpr std::uint16_t kLineLength = kBase64LineLength;

// The running encoder: the place in the output and the column there.
struct Encoder {
  std::string_view terminator;
  unsigned char* out;
  unsigned char* outEnd;
  std::uint16_t column;

  // KEEP(base64-room-drops): what finds no room is dropped without a word.
  bool HasRoom() const { return outEnd - out >= kRoomPerGroup; }
  void BreakFullLine();
  void Emit(const unsigned char* bytes);
  std::size_t EmitLines(const Base64Kernels& kernels, const unsigned char* in, std::size_t groups);
  std::size_t EmitPiece(const Base64Kernels& kernels, const unsigned char* in, std::size_t groups);
};

// KEEP(base64-line-72): the line end waits for the group behind a full line, so that no text ends
// with one.
inline void Encoder::BreakFullLine() {
  if (column == kLineLength) {
    out = std::copy(terminator.begin(), terminator.end(), out);
    column = 0;
  }
}

inline void Encoder::Emit(const unsigned char* bytes) {
  BreakFullLine();
  column = static_cast<std::uint16_t>(column + 4);
  const unsigned group =
      (static_cast<unsigned>(bytes[0]) << 16) | (static_cast<unsigned>(bytes[1]) << 8) | bytes[2];
  out[0] = static_cast<unsigned char>(kBase64Alphabet[group >> 18]);
  out[1] = static_cast<unsigned char>(kBase64Alphabet[(group >> 12) & 63]);
  out[2] = static_cast<unsigned char>(kBase64Alphabet[(group >> 6) & 63]);
  out[3] = static_cast<unsigned char>(kBase64Alphabet[group & 63]);
  out += 4;
}

// Encodes full lines behind a full line, as many as there are and as have room; gives their groups.
std::size_t Encoder::EmitLines(const Base64Kernels& kernels, const unsigned char* in,
                               std::size_t groups) {
  // The last group of a line asks for two bytes more than it takes.
  constexpr std::size_t kUnused = kRoomPerGroup - 4;
  const std::size_t line = terminator.size() + kLineLength;
  const std::size_t room = static_cast<std::size_t>(outEnd - out) - kUnused;
  const std::size_t lines = std::min(groups / kBase64LineGroups, room / line);
  kernels.encodeLines(in, lines, terminator, out);
  out += lines * line;
  return lines * kBase64LineGroups;
}

// Encodes the groups up to the end of the line that have room, which the first one has; gives how
// many they are.
std::size_t Encoder::EmitPiece(const Base64Kernels& kernels, const unsigned char* in,
                               std::size_t groups) {
  BreakFullLine();
  // The first one has asked for room before the line end.
  const std::size_t more =
      HasRoom() ? static_cast<std::size_t>(outEnd - out - kRoomPerGroup) / 4 : 0;
  const std::size_t onLine = (std::size_t{kLineLength} - column) / 4;
  const std::size_t count = std::min({groups, more + 1, onLine});
  kernels.encodeGroups(in, count, out);
  out += 4 * count;
  column = static_cast<std::uint16_t>(column + 4 * count);
  return count;
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

void EmitGroups(Encoder& encoder, const Base64Kernels& kernels,
                std::span<const unsigned char> input) {
  Encoder own = encoder;
  const unsigned char* in = input.data();
  std::size_t groups = input.size() / 3;
  while (groups != 0 && own.HasRoom()) {
    std::size_t done = own.column == kLineLength ? own.EmitLines(kernels, in, groups) : 0;
    if (done == 0) {
      done = own.EmitPiece(kernels, in, groups);
    }
    groups -= done;
    in += 3 * done;
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
void EncodeInput(Base64EncodeState& state, Encoder& encoder, const Base64Kernels* kernels,
                 std::span<const unsigned char> input) {
  if (state.pendingCount != 0 && state.pendingCount + input.size() >= 3) {
    const std::size_t missing = 3U - state.pendingCount;
    std::copy_n(input.begin(), missing, state.pending + state.pendingCount);
    EmitGroups(encoder, state.pending);
    state.pendingCount = 0;
    input = input.subspan(missing);
  }
  if (state.pendingCount == 0) {
    if (kernels == nullptr) {
      EmitGroups(encoder, input);
    } else {
      EmitGroups(encoder, *kernels, input);
    }
    input = input.last(input.size() % 3);
  }
  std::copy(input.begin(), input.end(), state.pending + state.pendingCount);
  state.pendingCount = static_cast<std::uint16_t>(state.pendingCount + input.size());
}

}  // namespace

std::size_t Base64DecodeChunk(Base64DecodeState& state, std::span<const unsigned char> input,
                              std::span<unsigned char> output) {
  return Base64DecodeChunkAt(ActiveCpuLevel(), state, input, output);
}

std::size_t Base64DecodeChunkAt(CpuLevel level, Base64DecodeState& state,
                                std::span<const unsigned char> input,
                                std::span<unsigned char> output) {
  const Base64Kernels* const kernels = input.size() < kShort ? nullptr : Base64KernelsAt(level);
  Decoder decoder{state, output.data(), output.data() + output.size()};
  decoder.state.invalidCount = 0;
  const unsigned char* in = input.data();
  const unsigned char* const end = in + input.size();
  while (in != end) {
    if (kernels != nullptr && decoder.BetweenGroups()) {
      in = decoder.DecodeBatches(*kernels, in, end);
    }
    in = decoder.DecodeStretch(in, end, kernels == nullptr ? end - in : kStretch);
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
  return Base64EncodeChunkAt(ActiveCpuLevel(), state, lineTerminator, input, output);
}

std::size_t Base64EncodeChunkAt(CpuLevel level, Base64EncodeState& state,
                                std::string_view lineTerminator,
                                std::span<const unsigned char> input,
                                std::span<unsigned char> output) {
  Encoder encoder{lineTerminator.substr(0, kLongestTerminator), output.data(),
                  output.data() + output.size(), state.column};
  if (input.empty()) {
    Flush(state, encoder);
  } else {
    EncodeInput(state, encoder, Base64KernelsAt(level), input);
  }
  state.column = encoder.column;
  return static_cast<std::size_t>(encoder.out - output.data());
}

}  // namespace zevka
