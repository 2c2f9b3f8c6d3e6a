// Where a line ends, sixteen bytes at a time.
#ifndef ZEVKA_MIME_LINE_SCAN_H
#define ZEVKA_MIME_LINE_SCAN_H

#include <emmintrin.h>

#include <cstddef>
#include <string_view>

namespace zevka {

// The place of the first CR or LF; the size of the text when there is none.
inline std::size_t FindLineEnd(std::string_view text) {
  const char* const bytes = text.data();
  std::size_t at = 0;
  const __m128i cr = _mm_set1_epi8('\r');
  const __m128i lf = _mm_set1_epi8('\n');
  for (; text.size() - at >= sizeof(__m128i); at += sizeof(__m128i)) {
    __m128i block;
    __builtin_memcpy(&block, bytes + at, sizeof block);
    const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(block, cr), _mm_cmpeq_epi8(block, lf));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(ends));
    if (mask != 0) {
      return at + static_cast<std::size_t>(__builtin_ctz(mask));
    }
  }
  while (at < text.size() && bytes[at] != '\r' && bytes[at] != '\n') {
    ++at;
  }
  return at;
}

}  // namespace zevka

#endif  // ZEVKA_MIME_LINE_SCAN_H
