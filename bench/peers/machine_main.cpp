// What the machine can do at this moment: the bounds that nothing can beat which reads or copies
// every byte of a message.
//   machine_speed [--json]
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "bench/measure.h"
#include "bench/result_line.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kBytes = 25000000;
constexpr std::size_t kLine = 78;  // bytes, the line end included
constexpr int kRuns = 15;
constexpr double kMega = 1000000.0;

// Keeps the compiler from leaving the work out.
void Use(const void* bytes) {
  asm volatile("" : : "r"(bytes) : "memory");
}

template <typename Work>
void Show(bool json, std::string_view what, const Work& work) {
  const Seconds seconds = Measure(kRuns, work);
  constexpr double kMegabytes = static_cast<double>(kBytes) / kMega;
  ResultLine(json)
      .Text("machine", what)
      .Number("speed", kMegabytes / seconds.median, 0)
      .Number("slowest", kMegabytes / seconds.most, 0)
      .Number("fastest", kMegabytes / seconds.least, 0)
      .Print();
}

std::size_t CountLines(const std::vector<char>& text) {
  std::size_t lines = 0;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != nullptr && at < end) {
    at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
    if (at != nullptr) {
      ++at;
      ++lines;
    }
  }
  return lines;
}

void Run(bool json) {
  std::vector<char> text(kBytes, 'a');
  for (std::size_t at = kLine - 1; at < text.size(); at += kLine) {
    text[at] = '\n';
  }
  std::vector<char> copy(kBytes);
  Show(json, "memcpy", [&] {
    std::memcpy(copy.data(), text.data(), text.size());
    Use(copy.data());
  });
  Show(json, "memchr", [&] {
    const std::size_t lines = CountLines(text);
    Use(&lines);
  });
}

}  // namespace
}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  zevka::bench::Run(argumentCount > 1 && std::string_view(arguments[1]) == "--json");
  return 0;
}
