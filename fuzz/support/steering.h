// Numbers and texts that steer a target through what it does with a message. An input is 16
// steering bytes and the message behind them; the steering bytes are read round and round, changed
// a little in each round so that rounds differ.
#ifndef ZEVKA_FUZZ_SUPPORT_STEERING_H
#define ZEVKA_FUZZ_SUPPORT_STEERING_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zevka::fuzz {

class Steering {
 public:
  static constexpr std::size_t kBytes = 16;

  //   input  stays the caller's
  explicit Steering(std::string_view input)
      : bytes_(input.substr(0, kBytes)), message_(input.substr(std::min(kBytes, input.size()))) {}

  std::string_view Message() const { return message_; }

  std::uint8_t Byte() {
    if (bytes_.empty()) {
      return 0;
    }
    const std::size_t round = at_ / bytes_.size();
    const auto byte = static_cast<std::uint8_t>(bytes_[at_ % bytes_.size()]);
    ++at_;
    return static_cast<std::uint8_t>(byte + round * 29);
  }

  // From 0 to `most`, at most 65535, that included.
  std::size_t Number(std::size_t most) {
    std::size_t number = Byte();
    if (most > 255) {
      number = number << 8 | Byte();
    }
    return number % (most + 1);
  }

  // One case in `count`.
  bool OneIn(std::size_t count) { return Number(count - 1) == 0; }

  template <typename Item, std::size_t kSize>
  const Item& Choice(const Item (&items)[kSize]) {
    return items[Number(kSize - 1)];
  }

  // A piece of the message.
  std::string_view Piece(std::size_t longest) {
    const std::size_t begin = Number(std::min<std::size_t>(message_.size(), 65535));
    return message_.substr(begin, Number(longest));
  }

 private:
  std::string_view bytes_;
  std::string_view message_;
  std::size_t at_ = 0;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_STEERING_H
