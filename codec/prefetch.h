// Asks for memory that a kernel will come to soon. On texts that are larger than the caches this
// makes a kernel a quarter to a half faster: the machine's own looking ahead ends with each page.
//
// The places may lie outside the text; nothing is read or written there.
#ifndef ZEVKA_CODEC_PREFETCH_H
#define ZEVKA_CODEC_PREFETCH_H

#include <cstddef>

namespace zevka {

// Bytes ahead of the place at hand: those that were quickest.
inline constexpr std::size_t kReadAhead = 2048;
inline constexpr std::size_t kWriteAhead = 1024;

inline void PrefetchInput(const unsigned char* in) {
  __builtin_prefetch(in + kReadAhead, 0);
}

inline void PrefetchOutput(const unsigned char* out) {
  __builtin_prefetch(out + kWriteAhead, 1);
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_PREFETCH_H
