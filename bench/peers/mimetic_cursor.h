// The quickest way to have mimetic's coders write into a block: an output iterator on a pointer.
#ifndef ZEVKA_BENCH_PEERS_MIMETIC_CURSOR_H
#define ZEVKA_BENCH_PEERS_MIMETIC_CURSOR_H

#include <mimetic/mimetic.h>

#include <cstddef>
#include <string_view>

namespace zevka::bench {

// Coders copy their output iterator; the place is the caller's, so that all copies share it.
class MimeticCursor {
 public:
  explicit MimeticCursor(char** place) : place_(place) {}
  MimeticCursor& operator*() { return *this; }
  MimeticCursor& operator++() { return *this; }
  MimeticCursor& operator++(int) { return *this; }
  MimeticCursor& operator=(char byte) {
    *(*place_)++ = byte;
    return *this;
  }

 private:
  char** place_;
};

// Runs a coder over the bytes. Result: the bytes that it made, which stand in `out`.
template <typename Coder>
std::size_t Code(std::string_view bytes, Coder& coder, char* out) {
  char* place = out;
  mimetic::code(bytes.begin(), bytes.end(), coder, MimeticCursor(&place));
  return static_cast<std::size_t>(place - out);
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_PEERS_MIMETIC_CURSOR_H
