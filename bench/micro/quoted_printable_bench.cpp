// Quoted-printable: the decoder between buffers, and the encoder from one memory file to another,
// as bodies are written.
#include "bench/micro/bytes.h"
#include "bench/samples.h"
#include "codec/quoted_printable.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "mime/body_encoder.h"
#include "mime/line_end.h"

namespace zevka::bench {
namespace {

constexpr std::int64_t kBlock = 4096;
constexpr std::int64_t kBody = 1 << 20;

void DecodeText(benchmark::State& state, const std::string& text) {
  std::string room(text.size(), '\0');
  while (state.KeepRunning()) {
    DecodeState decoder;
    benchmark::DoNotOptimize(QpDecodeChunk(decoder, LineEndStyle::kCrLf, Bytes(text), Room(room)));
  }
  CountBytes(state, text.size());
}

void QuotedPrintableDecode(benchmark::State& state) {
  DecodeText(state, QuotedPrintableText(Size(state)));
}
BENCHMARK(QuotedPrintableDecode)->Arg(kBlock)->Arg(kBody);

// Text without a single escape.
void QuotedPrintableDecodePlain(benchmark::State& state) {
  DecodeText(state, AsciiText(Size(state)));
}
BENCHMARK(QuotedPrintableDecodePlain)->Arg(kBody);

// Nothing but escapes.
void QuotedPrintableDecodeDense(benchmark::State& state) {
  std::string escapes;
  while (escapes.size() < Size(state)) {
    escapes.append("=C3=BC");
  }
  DecodeText(state, escapes);
}
BENCHMARK(QuotedPrintableDecodeDense)->Arg(kBody);

void EncodeText(benchmark::State& state, const std::string& text) {
  InstallMemoryFiles();
  const RemoveUnlessKept decoded("/no-such-folder/decoded");
  const RemoveUnlessKept encoded("/no-such-folder/encoded");
  OpenFile(decoded.Name(), "w").Write(text);
  LineEnd lineEnd;
  lineEnd.firstStyle = LineEndStyle::kCrLf;
  lineEnd.established = "\r\n";
  while (state.KeepRunning()) {
    OpenFile input(decoded.Name(), "r");
    OpenFile output(encoded.Name(), "w");
    benchmark::DoNotOptimize(EncodeQuotedPrintableBody(output, input, lineEnd));
  }
  CountBytes(state, text.size());
}

void QuotedPrintableEncode(benchmark::State& state) {
  EncodeText(state, Utf8Text(Size(state)));
}
BENCHMARK(QuotedPrintableEncode)->Arg(kBlock)->Arg(kBody);

void QuotedPrintableEncodePlain(benchmark::State& state) {
  EncodeText(state, AsciiText(Size(state)));
}
BENCHMARK(QuotedPrintableEncodePlain)->Arg(kBody);

}  // namespace
}  // namespace zevka::bench
