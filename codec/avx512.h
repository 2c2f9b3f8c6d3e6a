// The intrinsics of AVX-512 without GCC 12's complaints about them, and the mark of functions that
// use them. Only such functions may call each other inline; nothing that other files share, such as
// a template of the standard library, is compiled with these instructions.
#ifndef ZEVKA_CODEC_AVX512_H
#define ZEVKA_CODEC_AVX512_H

#include <cstddef>
#include <cstdint>

// What the headers leave undefined on purpose is taken for a mistake.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#define ZEVKA_AVX512 \
  [[gnu::target("avx2,bmi,bmi2,popcnt,avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2")]]

namespace zevka {

ZEVKA_AVX512 inline __m512i LoadRow(const void* bytes) {
  return _mm512_loadu_si512(bytes);
}

// The lowest `count` of 64 lanes.
ZEVKA_AVX512 inline __mmask64 FirstLanes(std::size_t count) {
  return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(count));
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_AVX512_H
