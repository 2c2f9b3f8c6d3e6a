// Bytes with a page before and behind them that nothing may touch: a coder that reads or writes one
// byte outside ends the test program.
#ifndef ZEVKA_TESTS_CODEC_GUARDED_BYTES_H
#define ZEVKA_TESTS_CODEC_GUARDED_BYTES_H

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

namespace zevka::test {

// Where the bytes lie between the two pages.
enum class Beside { kPageBehind, kPageBefore };

class GuardedBytes {
 public:
  // Room for up to that many bytes.
  explicit GuardedBytes(std::size_t most)
      : inner_((most + kPage - 1) / kPage * kPage + (most == 0 ? kPage : 0)),
        pages_(static_cast<unsigned char*>(
            mmap(nullptr, inner_ + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    if (mprotect(pages_ + kPage, inner_, PROT_READ | PROT_WRITE) != 0) {
      std::abort();
    }
  }
  ~GuardedBytes() { munmap(pages_, inner_ + 2 * kPage); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  // The first or last bytes, each of them `fill`.
  std::span<unsigned char> Room(std::size_t size, Beside beside = Beside::kPageBehind,
                                unsigned char fill = 'x') {
    unsigned char* const begin = pages_ + kPage;
    const std::span<unsigned char> room(
        beside == Beside::kPageBefore ? begin : begin + inner_ - size, size);
    std::fill(room.begin(), room.end(), fill);
    return room;
  }

  std::span<const unsigned char> Text(std::string_view text, Beside beside = Beside::kPageBehind) {
    const std::span<unsigned char> room = Room(text.size(), beside);
    std::copy(text.begin(), text.end(), room.begin());
    return room;
  }

 private:
  static constexpr std::size_t kPage = 4096;
  std::size_t inner_;
  unsigned char* pages_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_CODEC_GUARDED_BYTES_H
