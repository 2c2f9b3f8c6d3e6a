// Messages opened and let go, nothing decoded and nothing written.
#include "bench/micro/bytes.h"
#include "bench/micro/message.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kMega = 1 << 20;

void Parse(benchmark::State& state, const std::string& message) {
  MimePacker packer;
  while (state.KeepRunning()) {
    Discard(packer, OpenBytes(packer, message));
  }
  CountBytes(state, message.size());
}
BENCHMARK_CAPTURE(Parse, plain4K, PlainMessage(4096));
BENCHMARK_CAPTURE(Parse, plain1M, PlainMessage(kMega));
BENCHMARK_CAPTURE(Parse, base64_1M, Base64Message(kMega));
BENCHMARK_CAPTURE(Parse, quotedPrintable1M, QuotedPrintableMessage(kMega));
BENCHMARK_CAPTURE(Parse, usual100K, UsualMessage(100000));
BENCHMARK_CAPTURE(Parse, nested12, Nested(12, 10000));
BENCHMARK_CAPTURE(Parse, parts900, ManyParts(900));
BENCHMARK_CAPTURE(Parse, fields1000, ManyFields(1000));

}  // namespace
}  // namespace zevka::bench
