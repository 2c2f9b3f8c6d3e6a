// Cuts a text into chunks whose lengths a fuzz input chooses: laws about splits are asserted with
// it. A text that would come in too many of them ends with a long one, for the sake of speed.
#ifndef ZEVKA_FUZZ_SUPPORT_SPLIT_H
#define ZEVKA_FUZZ_SUPPORT_SPLIT_H

#include <cstddef>
#include <string_view>

namespace zevka::fuzz {

class Split {
 public:
  static constexpr std::size_t kMostChunks = 24;

  //   lengths  each byte is the length of a chunk, less 1; used round and round. Empty: chunks of
  //            one byte
  //   text     what is cut
  Split(std::string_view lengths, std::string_view text) : lengths_(lengths), rest_(text) {}

  bool More() const { return !rest_.empty(); }

  std::string_view Next() {
    std::size_t length = 1;
    if (!lengths_.empty()) {
      length += static_cast<unsigned char>(lengths_[at_++ % lengths_.size()]);
    }
    if (++chunks_ == kMostChunks) {
      length = rest_.size();
    }
    const std::string_view chunk = rest_.substr(0, length);
    rest_.remove_prefix(chunk.size());
    return chunk;
  }

 private:
  std::string_view lengths_;
  std::string_view rest_;
  std::size_t at_ = 0;
  std::size_t chunks_ = 0;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_SPLIT_H
