// The quoted-printable kernels for AVX2: all escapes and soft line breaks of 32 characters are
// decoded at once, and their other characters pressed out by eights.
#include <immintrin.h>

#include <bit>
#include <cstdint>

#include "codec/prefetch.h"
#include "codec/press_out.h"
#include "codec/quoted_printable_kernels.h"

#define ZEVKA_AVX2 [[gnu::target("avx2,bmi,bmi2,popcnt")]]

namespace zevka {
namespace {

ZEVKA_AVX2 inline __m256i Load(const void* bytes) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(bytes));
}

ZEVKA_AVX2 inline void Store(void* to, __m256i bytes) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), bytes);
}

ZEVKA_AVX2 inline std::uint32_t MaskOf(__m256i lanes) {
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(lanes));
}

// Lanes with values up to `most`, which are unsigned.
ZEVKA_AVX2 inline __m256i UpTo(__m256i values, char most) {
  return _mm256_cmpeq_epi8(_mm256_min_epu8(values, _mm256_set1_epi8(most)), values);
}

// The values of hexadecimal digits; `valid` keeps the lanes that hold one.
ZEVKA_AVX2 inline __m256i DigitsOf(__m256i characters, __m256i& valid) {
  const __m256i numbers = _mm256_sub_epi8(characters, _mm256_set1_epi8('0'));
  const __m256i letters =
      _mm256_sub_epi8(_mm256_or_si256(characters, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  const __m256i isNumber = UpTo(numbers, 9);
  valid = _mm256_and_si256(valid, _mm256_or_si256(isNumber, UpTo(letters, 5)));
  return _mm256_blendv_epi8(_mm256_add_epi8(letters, _mm256_set1_epi8(10)), numbers, isNumber);
}

// What the lanes hold, given those with "="; `values` gets the bytes of escapes and text.
ZEVKA_AVX2 inline QpRow DecodeRow(const unsigned char* in, __m256i isEqual, LineEndStyle lineEnd,
                                  __m256i& values) {
  const __m256i next = Load(in + 1);
  const __m256i second = Load(in + 2);
  __m256i isEscape = isEqual;
  const __m256i high = DigitsOf(next, isEscape);
  const __m256i low = DigitsOf(second, isEscape);
  const __m256i shifted = _mm256_and_si256(_mm256_slli_epi16(high, 4), _mm256_set1_epi8('\xF0'));
  values = _mm256_blendv_epi8(values, _mm256_or_si256(shifted, low), isEscape);
  __m256i isSoftBreak = _mm256_and_si256(
      isEqual, _mm256_cmpeq_epi8(next, _mm256_set1_epi8(LineEndBytes(lineEnd)[0])));
  if (lineEnd == LineEndStyle::kCrLf) {
    isSoftBreak = _mm256_and_si256(isSoftBreak, _mm256_cmpeq_epi8(second, _mm256_set1_epi8('\n')));
  }
  return {MaskOf(isEqual), MaskOf(isEscape), MaskOf(isSoftBreak)};
}

// Writes the lanes that are kept, and a few bytes more; gives their end.
ZEVKA_AVX2 inline unsigned char* PressRow(__m256i values, std::uint32_t lanes, unsigned char* out) {
  __m128i half = _mm256_castsi256_si128(values);
  for (int i = 0; i < 4; ++i) {
    const std::uint32_t kept = lanes & 0xFF;
    const __m128i order =
        _mm_loadl_epi64(static_cast<const __m128i*>(static_cast<const void*>(&kPressOut[kept])));
    _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(out)), _mm_shuffle_epi8(half, order));
    out += kBitCounts[kept];
    lanes >>= 8;
    half = i == 1 ? _mm256_extracti128_si256(values, 1) : _mm_unpackhi_epi64(half, half);
  }
  return out;
}

ZEVKA_AVX2 QpPlace Decode(QpPlace place, const unsigned char* end, const unsigned char* outEnd,
                          LineEndStyle lineEnd) {
  constexpr int kLanes = 32;
  std::uint64_t carried = 0;
  while (end - place.in >= kLanes + 2 && outEnd - place.out >= kLanes) {
    PrefetchInput(place.in);
    PrefetchOutput(place.out);
    __m256i values = Load(place.in);
    const __m256i isEqual = _mm256_cmpeq_epi8(values, _mm256_set1_epi8('='));
    if ((MaskOf(isEqual) | carried) == 0) {
      Store(place.out, values);
      place.in += kLanes;
      place.out += kLanes;
      continue;
    }
    const QpRow row = DecodeRow(place.in, isEqual, lineEnd, values);
    const QpKept kept = KeepLanes<kLanes>(row, carried, lineEnd == LineEndStyle::kCrLf);
    place.out = PressRow(values, static_cast<std::uint32_t>(kept.lanes), place.out);
    if (kept.stops != 0) {
      place.in += std::countr_zero(kept.stops);
      return place;
    }
    carried = kept.carried;
    place.in += kLanes;
  }
  // Between two escapes, which is behind those that the last row began.
  place.in += std::popcount(carried);
  return place;
}

ZEVKA_AVX2 std::size_t Encode(const unsigned char* text, std::size_t length, unsigned char* out) {
  constexpr std::size_t kLanes = 32;
  unsigned char* to = out;
  for (; length >= kLanes; length -= kLanes, text += kLanes) {
    PrefetchInput(text);
    const __m256i row = Load(text);
    const __m256i printable = UpTo(_mm256_sub_epi8(row, _mm256_set1_epi8(' ')), '~' - ' ');
    const __m256i literal = _mm256_or_si256(
        _mm256_andnot_si256(_mm256_cmpeq_epi8(row, _mm256_set1_epi8('=')), printable),
        _mm256_cmpeq_epi8(row, _mm256_set1_epi8('\t')));
    if (MaskOf(literal) == 0xFFFFFFFFU) {
      Store(to, row);
      to += kLanes;
    } else {
      to += QpEncodePlain(text, kLanes, to);
    }
  }
  to += QpEncodePlain(text, length, to);
  return static_cast<std::size_t>(to - out);
}

}  // namespace

const QpKernels kQpKernelsAvx2{Decode, Encode};

}  // namespace zevka
