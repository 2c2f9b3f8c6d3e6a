// Encoded words of header fields, read and written.
#include "bench/micro/bytes.h"
#include "codec/encoded_words.h"

namespace zevka::bench {
namespace {

constexpr std::string_view kSubject =
    "=?utf-8?Q?Gr=C3=BC=C3=9Fe_aus?= =?utf-8?B?TcO8bmNoZW4gdW5kIEvDtmxu?= and a plain tail";
constexpr std::string_view kPlainSubject = "Re: report of the quarter, as agreed on Tuesday";
constexpr std::string_view kForeignSubject = "Re: Grüße aus München, письмо и отчёт";
constexpr std::size_t kRoom = 1024;  // bytes

void DecodeSubject(benchmark::State& state, std::string_view subject) {
  std::string room(kRoom, '\0');
  DecodeState decoder;
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(DecodeHeaderText(decoder, subject, room, LineEndStyle::kCrLf));
  }
  CountBytes(state, subject.size());
}
BENCHMARK_CAPTURE(DecodeSubject, words, kSubject);
BENCHMARK_CAPTURE(DecodeSubject, plain, kPlainSubject);

void EncodeSubject(benchmark::State& state, std::string_view subject) {
  std::string room(kRoom, '\0');
  DecodeState decoder;
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(EncodeHeaderText(decoder, subject, room, LineEndStyle::kCrLf));
  }
  CountBytes(state, subject.size());
}
BENCHMARK_CAPTURE(EncodeSubject, foreign, kForeignSubject);
BENCHMARK_CAPTURE(EncodeSubject, plain, kPlainSubject);

}  // namespace
}  // namespace zevka::bench
