// Messages written: as they were read, and with their bodies encoded anew. The opening is not
// counted, nor the decoding.
#include "bench/micro/bytes.h"
#include "bench/micro/message.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kMega = 1 << 20;

// Decodes each leaf, and has it encoded anew when the message is written.
void TouchLeaves(PartObject& part) {
  if (part.RewindChildren() != 1) {
    part.ReadDecodedBody(nullptr, 0, 0);
    part.SetModified();
    return;
  }
  for (PartObject* child = nullptr; part.NextChild(&child) == 1;) {
    TouchLeaves(*child);
  }
}

void Write(benchmark::State& state, const std::string& message) {
  MimePacker packer;
  while (state.KeepRunning()) {
    state.PauseTiming();
    PartObject* part = OpenBytes(packer, message);
    state.ResumeTiming();
    benchmark::DoNotOptimize(Finish(packer, part));
  }
  CountBytes(state, message.size());
}
BENCHMARK_CAPTURE(Write, plain4K, PlainMessage(4096));
BENCHMARK_CAPTURE(Write, plain1M, PlainMessage(kMega));
BENCHMARK_CAPTURE(Write, base64_1M, Base64Message(kMega));
BENCHMARK_CAPTURE(Write, usual100K, UsualMessage(100000));
BENCHMARK_CAPTURE(Write, nested12, Nested(12, 10000));
BENCHMARK_CAPTURE(Write, parts900, ManyParts(900));
BENCHMARK_CAPTURE(Write, fields1000, ManyFields(1000));

void Reencode(benchmark::State& state, const std::string& message) {
  MimePacker packer;
  while (state.KeepRunning()) {
    state.PauseTiming();
    PartObject* part = OpenBytes(packer, message);
    TouchLeaves(*part);
    state.ResumeTiming();
    benchmark::DoNotOptimize(Finish(packer, part));
  }
  CountBytes(state, message.size());
}
BENCHMARK_CAPTURE(Reencode, base64_1M, Base64Message(kMega));
BENCHMARK_CAPTURE(Reencode, quotedPrintable1M, QuotedPrintableMessage(kMega));

}  // namespace
}  // namespace zevka::bench
