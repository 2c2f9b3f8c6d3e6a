// Base64 of bodies: the decoder in any split against the reference decoder, with room and without;
// encode and decode give the bytes back, and the lines of both encoders, that of changed bodies and
// that of the footer part, keep their form.
#include <cstdint>
#include <string>
#include <string_view>

#include "codec/base64.h"
#include "codec/base64_stream.h"
#include "fuzz/support/exact.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/split.h"
#include "fuzz/support/target.h"
#include "fuzz/support/text_files.h"
#include "tests/support/reference/base64_reference.h"

namespace zevka::fuzz {
namespace {

// Each chunk and its room stand in buffers of their own size, so that a read outside is seen.
std::string DecodeChunk(Base64DecodeState& state, std::string_view input, std::size_t room) {
  const ExactText chunk(input);
  ExactRoom out(room);
  return out.First(Base64DecodeChunk(state, chunk.Bytes(), out.Bytes()));
}

bool SameState(const Base64DecodeState& left, const Base64DecodeState& right) {
  return left.invalidTotal == right.invalidTotal && left.padCount == right.padCount &&
         left.phase == right.phase && left.partial == right.partial;
}

std::string Whole(std::string_view text, Base64DecodeState& state) {
  return DecodeChunk(state, text, text.size() / 4 * 3 + 3);
}

void CheckDecoder(std::string_view lengths, std::string_view text) {
  Base64DecodeState whole;
  const std::string bytes = Whole(text, whole);
  reference::Base64Decoder expected;
  Law(bytes == expected.Decode(text, text.size() + 3), "the reference decodes the same bytes");
  Law(whole.invalidTotal == expected.invalidTotal, "the reference counts the same faults");
  Law(whole.padCount == expected.padCount && whole.phase == expected.used,
      "the reference ends in the same place of a group");

  Base64DecodeState parts;
  std::string joined;
  for (Split split(lengths, text); split.More();) {
    const std::string_view chunk = split.Next();
    joined += DecodeChunk(parts, chunk, chunk.size() / 4 * 3 + 4);
  }
  Law(joined == bytes, "a split changes no byte");
  Law(SameState(parts, whole), "a split changes no count");
}

void CheckRoom(std::string_view text, std::size_t room) {
  Base64DecodeState state;
  reference::Base64Decoder expected;
  Law(DecodeChunk(state, text, room) == expected.Decode(text, room),
      "with little room the reference decodes the same bytes");
  Law(state.invalidTotal == expected.invalidTotal, "with little room the faults are the same");
}

void CheckRoundTrip(std::string_view lengths, std::string_view bytes, std::string_view lineEnd) {
  Base64EncodeState state;
  std::string text;
  const auto encode = [&](std::string_view input) {
    const ExactText chunk(input);
    ExactRoom out((input.size() / 3 + 2) * 6);
    text += out.First(Base64EncodeChunk(state, lineEnd, chunk.Bytes(), out.Bytes()));
  };
  for (Split split(lengths, bytes); split.More();) {
    encode(split.Next());
  }
  encode({});
  Law(text == reference::EncodeBase64BreakBefore(bytes, 72, lineEnd),
      "the reference encodes the same text");
  Base64DecodeState decoder;
  Law(Whole(text, decoder) == bytes, "decoding what was encoded gives the bytes back");
  Law(decoder.invalidTotal == 0, "what was encoded has no fault");
}

void CheckStream(std::string_view lengths, std::string_view bytes, std::string_view trailer) {
  const TextFiles files;
  TextFile file;
  Base64StreamState state;
  for (Split split(lengths, bytes); split.More();) {
    const ExactText chunk(split.Next());
    state.input = chunk.Bytes().data();
    state.inputLength = static_cast<std::int32_t>(chunk.Bytes().size());
    Law(Base64WriteStream(&file, &state, "used when the text ends") == 0, "the stream goes on");
  }
  state.input = nullptr;
  state.inputLength = 0;
  const ExactText end(trailer);
  Law(Base64WriteStream(&file, &state, end.Text()) == 0, "the stream ends");
  const std::string text = reference::EncodeBase64BreakBehind(bytes, 76, "\n");
  Law(file.written == text + std::string(trailer), "the reference encodes the same stream");
  Base64DecodeState decoder;
  Law(Whole(text, decoder) == bytes, "decoding a stream gives the bytes back");
}

void CheckOneInput(Input input) {
  const std::size_t room = input.Number(255);
  const std::string_view lineEnd = input.Flag() ? "\n" : "\r\n";
  const std::string_view lengths = input.Text(4);
  const std::string_view text = input.Rest();
  CheckDecoder(lengths, text);
  CheckRoom(text, room);
  CheckRoundTrip(lengths, text, lineEnd);
  CheckStream(lengths, text, lineEnd);
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
