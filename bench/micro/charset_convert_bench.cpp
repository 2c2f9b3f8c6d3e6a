// Names and texts in a declared charset, through the system's iconv.
#include <vector>

#include "bench/micro/bytes.h"
#include "codec/charset_convert.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kRoomWide = 512;  // wide characters
constexpr std::string_view kLatinText =
    "Gr\xFC\xDF"
    "e aus M\xFCnchen und K\xF6ln.pdf";
constexpr std::string_view kUtf8Text = "Grüße aus München und Köln.pdf";

void ToWide(benchmark::State& state, const char* charset, std::string_view text) {
  std::vector<wchar_t> wide(kRoomWide);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(ConvertToWide(charset, text, wide.data(), wide.size()));
  }
  CountBytes(state, text.size());
}
BENCHMARK_CAPTURE(ToWide, latin, "iso-8859-1", kLatinText);
BENCHMARK_CAPTURE(ToWide, utf8, "utf-8", kUtf8Text);

void ToNarrow(benchmark::State& state, const char* charset, std::string_view text) {
  std::string narrow(kRoomWide, '\0');
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(ConvertToNarrow(charset, text, narrow.data(), narrow.size()));
  }
  CountBytes(state, text.size());
}
BENCHMARK_CAPTURE(ToNarrow, latin, "iso-8859-1", kLatinText);
BENCHMARK_CAPTURE(ToNarrow, utf8, "utf-8", kUtf8Text);

}  // namespace
}  // namespace zevka::bench
