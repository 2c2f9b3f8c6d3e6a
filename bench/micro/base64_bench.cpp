// Base64 between buffers: blocks as bodies are decoded in, and whole attachments.
#include "bench/micro/bytes.h"
#include "bench/samples.h"
#include "codec/base64.h"

namespace zevka::bench {
namespace {

constexpr std::int64_t kBlock = 4096;
constexpr std::int64_t kAttachment = 1 << 20;

void Base64Decode(benchmark::State& state) {
  const std::string lines = Base64Lines(Size(state));
  std::string room(lines.size(), '\0');
  while (state.KeepRunning()) {
    Base64DecodeState decoder;
    benchmark::DoNotOptimize(Base64DecodeChunk(decoder, Bytes(lines), Room(room)));
  }
  CountBytes(state, lines.size());
}
BENCHMARK(Base64Decode)->Arg(kBlock)->Arg(kAttachment);

// No group of four stands whole on a line: 75 characters each.
void Base64DecodeOddLines(benchmark::State& state) {
  std::string lines = Base64Lines(Size(state));
  for (std::size_t at = 0; at + 78 <= lines.size(); at += 77) {
    lines.erase(at, 1);
  }
  std::string room(lines.size(), '\0');
  while (state.KeepRunning()) {
    Base64DecodeState decoder;
    benchmark::DoNotOptimize(Base64DecodeChunk(decoder, Bytes(lines), Room(room)));
  }
  CountBytes(state, lines.size());
}
BENCHMARK(Base64DecodeOddLines)->Arg(kAttachment);

// Nothing of it is base64: every character is a fault.
void Base64DecodeFaults(benchmark::State& state) {
  const std::string faults(Size(state), '*');
  std::string room(faults.size(), '\0');
  while (state.KeepRunning()) {
    Base64DecodeState decoder;
    benchmark::DoNotOptimize(Base64DecodeChunk(decoder, Bytes(faults), Room(room)));
  }
  CountBytes(state, faults.size());
}
BENCHMARK(Base64DecodeFaults)->Arg(kAttachment);

void Base64Encode(benchmark::State& state) {
  const std::string noise = Noise(Size(state));
  std::string room(noise.size() * 2, '\0');
  while (state.KeepRunning()) {
    Base64EncodeState encoder;
    std::size_t made = Base64EncodeChunk(encoder, "\r\n", Bytes(noise), Room(room));
    made += Base64EncodeChunk(encoder, "\r\n", {}, Room(room).subspan(made));
    benchmark::DoNotOptimize(made);
  }
  CountBytes(state, noise.size());
}
BENCHMARK(Base64Encode)->Arg(kBlock)->Arg(kAttachment);

}  // namespace
}  // namespace zevka::bench
