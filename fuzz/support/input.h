// The bytes of one fuzz input, taken from the front: small numbers that steer a target first, the
// text it works on behind them. An input that is used up gives zeros and empty texts.
#ifndef ZEVKA_FUZZ_SUPPORT_INPUT_H
#define ZEVKA_FUZZ_SUPPORT_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zevka::fuzz {

class Input {
 public:
  //   data  stays the caller's, and must live as long as the texts given out
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  bool Empty() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) {
      return 0;
    }
    const char byte = rest_.front();
    rest_.remove_prefix(1);
    return static_cast<std::uint8_t>(byte);
  }

  // From 0 to `most`, that included; uses one byte, or two when `most` is above 255.
  std::size_t Number(std::size_t most) {
    std::size_t number = Byte();
    if (most > 255) {
      number = number << 8 | Byte();
    }
    return number % (most + 1);
  }

  bool Flag() { return (Byte() & 1) != 0; }

  // The next bytes, fewer when there are fewer.
  std::string_view Text(std::size_t length) {
    const std::string_view text = rest_.substr(0, std::min(length, rest_.size()));
    rest_.remove_prefix(text.size());
    return text;
  }

  std::string_view Rest() { return Text(rest_.size()); }

 private:
  std::string_view rest_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_INPUT_H
