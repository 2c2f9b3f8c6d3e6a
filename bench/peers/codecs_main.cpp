// Measures the coders of one mail library on flat buffers of some 25 MB.
//   codecs_LIBRARY [--json] [--runs N] QUOTED_PRINTABLE_MESSAGE
// Prints for each: MB/s of input by the median run, the slowest and the fastest, and the bytes
// made.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include "bench/measure.h"
#include "bench/peers/coders.h"
#include "bench/peers/message_sets.h"
#include "bench/result_line.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr double kMega = 1000000.0;
constexpr std::size_t kBase64Bytes = 25740000;
constexpr std::size_t kNoiseBytes = 18750000;

// 0 to 15, or -1.
int HexValue(char digit) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::size_t at = kDigits.find(digit);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// Decodes a text without faults, by the book and slowly.
std::string Meaning(std::string_view text) {
  std::string meaning;
  meaning.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '=' || i + 2 >= text.size()) {
      meaning += text[i];
      continue;
    }
    const int high = HexValue(text[i + 1]);
    const int low = HexValue(text[i + 2]);
    if (high >= 0 && low >= 0) {
      meaning += static_cast<char>(high * 16 + low);
    }
    i += 2;  // an escape, or a soft line break
  }
  return meaning;
}

void Run(const std::string& file, int runs, bool json) {
  Material material;
  material.base64 = Base64Lines(kBase64Bytes);
  material.quotedPrintable = BodyOf(ReadFile(file));
  material.noise = Noise(kNoiseBytes);
  material.text = Meaning(material.quotedPrintable);
  // Everything encoded takes less than three times its length and a line end for each line.
  std::string room(material.text.size() * 4, '\0');
  const Coders coders = MakeCoders(material, room);
  for (const Coder& coder : coders.coders) {
    const std::size_t made = coder.run();
    const Seconds seconds = Measure(runs, coder.run);
    const double megabytes = static_cast<double>(coder.input->size()) / kMega;
    ResultLine(json)
        .Text("library", coders.library)
        .Text("codec", coder.what)
        .Number("speed", megabytes / seconds.median, 1)
        .Number("slowest", megabytes / seconds.most, 1)
        .Number("fastest", megabytes / seconds.least, 1)
        .Count("bytes", coder.input->size())
        .Count("made", made)
        .Print();
  }
}

}  // namespace
}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  bool json = false;
  int runs = 5;
  std::string file;
  for (int i = 1; i < argumentCount; ++i) {
    const std::string_view word = arguments[i];
    if (word == "--json") {
      json = true;
    } else if (word == "--runs" && i + 1 < argumentCount) {
      runs = std::atoi(arguments[++i]);
    } else {
      file = word;
    }
  }
  try {
    zevka::bench::Run(file, runs, json);
    return 0;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s: %s\n", arguments[0], fault.what());
    return 1;
  }
}
