// One line of results: pairs of a name and a value, for people or, as a JSON object, for scripts.
//   ResultLine(json).Text("set", "a").Number("speed", 336.1, 1).Print();
#ifndef ZEVKA_BENCH_RESULT_LINE_H
#define ZEVKA_BENCH_RESULT_LINE_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace zevka::bench {

class ResultLine {
 public:
  explicit ResultLine(bool json) : json_(json) {}

  // The value is a plain word: nothing in it is escaped.
  ResultLine& Text(std::string_view name, std::string_view value) {
    Name(name);
    line_.append(json_ ? "\"" : "").append(value).append(json_ ? "\"" : "");
    return *this;
  }
  ResultLine& Number(std::string_view name, double value, int decimals) {
    Name(name);
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.*f", decimals, value);
    line_.append(digits);
    return *this;
  }
  ResultLine& Count(std::string_view name, std::uint64_t value) {
    Name(name);
    line_.append(std::to_string(value));
    return *this;
  }
  void Print() const {
    std::printf(json_ ? "{%s}\n" : "%s\n", line_.c_str());
    std::fflush(stdout);
  }

 private:
  void Name(std::string_view name) {
    line_.append(line_.empty() ? "" : json_ ? ", " : "  ");
    line_.append(json_ ? "\"" : "").append(name).append(json_ ? "\": " : " ");
  }

  bool json_;
  std::string line_;
};

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_RESULT_LINE_H
