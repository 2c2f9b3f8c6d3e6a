// UTF-8 to UTF-32 and back.
#include <vector>

#include "bench/micro/bytes.h"
#include "bench/samples.h"
#include "codec/utf_convert.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kTextBytes = 65536;

// Result: how many wide characters the text has.
std::size_t Widen(const std::string& text, std::vector<wchar_t>& wide) {
  const unsigned char* source = Bytes(text).data();
  wchar_t* target = wide.data();
  ConvertUTF8ToUTF32(source, source + text.size(), target, wide.data() + wide.size(),
                     ConversionFlags::kStrict);
  return static_cast<std::size_t>(target - wide.data());
}

void Utf8ToUtf32(benchmark::State& state, const std::string& text) {
  std::vector<wchar_t> wide(text.size());
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(Widen(text, wide));
  }
  CountBytes(state, text.size());
}
BENCHMARK_CAPTURE(Utf8ToUtf32, ascii, AsciiText(kTextBytes));
BENCHMARK_CAPTURE(Utf8ToUtf32, mixed, Utf8Text(kTextBytes));

void Utf32ToUtf8(benchmark::State& state, const std::string& text) {
  std::vector<wchar_t> wide(text.size());
  const std::size_t length = Widen(text, wide);
  std::string narrow(text.size(), '\0');
  while (state.KeepRunning()) {
    const wchar_t* source = wide.data();
    unsigned char* target = Room(narrow).data();
    benchmark::DoNotOptimize(ConvertUTF32ToUTF8(source, source + length, target,
                                                target + narrow.size(), ConversionFlags::kStrict));
  }
  CountBytes(state, text.size());
}
BENCHMARK_CAPTURE(Utf32ToUtf8, ascii, AsciiText(kTextBytes));
BENCHMARK_CAPTURE(Utf32ToUtf8, mixed, Utf8Text(kTextBytes));

}  // namespace
}  // namespace zevka::bench
