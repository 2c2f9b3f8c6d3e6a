// How the cost of a message grows: for each byte, part and header field, from a few to very many.
//   growth [--json] [--runs N] [--quick] [SHAPE...]
//   --quick  leaves out the largest of each shape
//   SHAPE    base64 quoted-printable 8bit parts fields; all when none is given
// The job is the whole of it: the message opened from memory, its fields read, every leaf decoded,
// the message written to memory. Prints for each size the nanoseconds for each byte, part or field
// by the median run, the slowest and the fastest.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "bench/host_program.h"
#include "bench/measure.h"
#include "bench/result_line.h"
#include "bench/samples.h"

namespace zevka::bench {
namespace {

constexpr double kNano = 1000000000.0;

struct Shape {
  std::string_view name;
  std::string_view unit;
  std::string (*make)(std::size_t count);
  std::vector<std::size_t> counts;
};

const std::vector<Shape>& Shapes() {
  static const std::vector<std::size_t> sizes = {1000, 10000, 100000, 1000000, 10000000, 100000000};
  static const std::vector<Shape> shapes = {
      {"base64", "byte", Base64Message, sizes},
      {"quoted-printable", "byte", QuotedPrintableMessage, sizes},
      {"8bit", "byte", EightBitMessage, sizes},
      {"parts", "part", ManyParts, {1, 3, 10, 30, 100, 300, 900, 3000, 10000}},
      {"fields", "field", ManyFields, {1, 10, 100, 1000, 10000, 100000}}};
  return shapes;
}

struct Wishes {
  bool json = false;
  bool quick = false;
  int runs = 5;
  std::vector<std::string_view> shapes;

  bool Wants(const Shape& shape) const {
    return shapes.empty() || std::find(shapes.begin(), shapes.end(), shape.name) != shapes.end();
  }
};

void MeasureShape(const HostProgram& host, const Shape& shape, const Wishes& wishes) {
  HostWork work;
  work.readFields = true;
  work.decode = true;
  work.write = true;
  std::vector<std::size_t> counts = shape.counts;
  if (wishes.quick) {
    counts.pop_back();
  }
  for (const std::size_t count : counts) {
    const std::string message = shape.make(count);
    HostResult result;
    const Seconds seconds = Measure(wishes.runs, [&] { host.Do(message, work, result); });
    if (result.refused != 0) {
      throw std::runtime_error("a message was refused");
    }
    const double units = static_cast<double>(shape.unit == "byte" ? message.size() : count);
    ResultLine(wishes.json)
        .Text("shape", shape.name)
        .Text("unit", shape.unit)
        .Count("count", count)
        .Count("bytes", message.size())
        .Number("nanoseconds", seconds.median * kNano / units, 4)
        .Number("slowest", seconds.most * kNano / units, 4)
        .Number("fastest", seconds.least * kNano / units, 4)
        .Print();
  }
}

void Run(const Wishes& wishes) {
  const HostProgram host;
  for (const Shape& shape : Shapes()) {
    if (wishes.Wants(shape)) {
      MeasureShape(host, shape, wishes);
    }
  }
}

}  // namespace
}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  zevka::bench::Wishes wishes;
  for (int i = 1; i < argumentCount; ++i) {
    const std::string_view word = arguments[i];
    if (word == "--json") {
      wishes.json = true;
    } else if (word == "--quick") {
      wishes.quick = true;
    } else if (word == "--runs" && i + 1 < argumentCount) {
      wishes.runs = std::atoi(arguments[++i]);
    } else {
      wishes.shapes.push_back(word);
    }
  }
  try {
    zevka::bench::Run(wishes);
    return 0;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "growth: %s\n", fault.what());
    return 1;
  }
}
