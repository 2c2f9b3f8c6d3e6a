// The quoted-printable kernels for SSSE3 and SSE4.1: all escapes and soft line breaks of 16
// characters are decoded at once, and their other characters pressed out by eights.
#include <immintrin.h>

#include <bit>
#include <cstdint>

#include "codec/prefetch.h"
#include "codec/press_out.h"
#include "codec/quoted_printable_kernels.h"

#define ZEVKA_SSE [[gnu::target("ssse3,sse4.1")]]

namespace zevka {
namespace {

ZEVKA_SSE inline __m128i Load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

ZEVKA_SSE inline void Store(void* to, __m128i bytes) {
  _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

ZEVKA_SSE inline std::uint32_t MaskOf(__m128i lanes) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes));
}

// Lanes with values up to `most`, which are unsigned.
ZEVKA_SSE inline __m128i UpTo(__m128i values, char most) {
  return _mm_cmpeq_epi8(_mm_min_epu8(values, _mm_set1_epi8(most)), values);
}

// The values of hexadecimal digits; `valid` keeps the lanes that hold one.
ZEVKA_SSE inline __m128i DigitsOf(__m128i characters, __m128i& valid) {
  const __m128i numbers = _mm_sub_epi8(characters, _mm_set1_epi8('0'));
  const __m128i letters =
      _mm_sub_epi8(_mm_or_si128(characters, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
  const __m128i isNumber = UpTo(numbers, 9);
  valid = _mm_and_si128(valid, _mm_or_si128(isNumber, UpTo(letters, 5)));
  return _mm_blendv_epi8(_mm_add_epi8(letters, _mm_set1_epi8(10)), numbers, isNumber);
}

// What the lanes hold, given those with "="; `values` gets the bytes of escapes and text.
ZEVKA_SSE inline QpRow DecodeRow(const unsigned char* in, __m128i isEqual, LineEndStyle lineEnd,
                                 __m128i& values) {
  const __m128i next = Load(in + 1);
  const __m128i second = Load(in + 2);
  __m128i isEscape = isEqual;
  const __m128i high = DigitsOf(next, isEscape);
  const __m128i low = DigitsOf(second, isEscape);
  const __m128i shifted = _mm_and_si128(_mm_slli_epi16(high, 4), _mm_set1_epi8('\xF0'));
  values = _mm_blendv_epi8(values, _mm_or_si128(shifted, low), isEscape);
  __m128i isSoftBreak =
      _mm_and_si128(isEqual, _mm_cmpeq_epi8(next, _mm_set1_epi8(LineEndBytes(lineEnd)[0])));
  if (lineEnd == LineEndStyle::kCrLf) {
    isSoftBreak = _mm_and_si128(isSoftBreak, _mm_cmpeq_epi8(second, _mm_set1_epi8('\n')));
  }
  return {MaskOf(isEqual), MaskOf(isEscape), MaskOf(isSoftBreak)};
}

// Writes the lanes that are kept, and a few bytes more; gives their end.
ZEVKA_SSE inline unsigned char* PressRow(__m128i values, std::uint32_t lanes, unsigned char* out) {
  __m128i half = values;
  for (int i = 0; i < 2; ++i) {
    const std::uint32_t kept = lanes & 0xFF;
    const __m128i order =
        _mm_loadl_epi64(static_cast<const __m128i*>(static_cast<const void*>(&kPressOut[kept])));
    _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(out)), _mm_shuffle_epi8(half, order));
    out += kBitCounts[kept];
    lanes >>= 8;
    half = _mm_unpackhi_epi64(half, half);
  }
  return out;
}

ZEVKA_SSE QpPlace Decode(QpPlace place, const unsigned char* end, const unsigned char* outEnd,
                         LineEndStyle lineEnd) {
  constexpr int kLanes = 16;
  std::uint64_t carried = 0;
  while (end - place.in >= kLanes + 2 && outEnd - place.out >= kLanes) {
    PrefetchInput(place.in);
    PrefetchOutput(place.out);
    __m128i values = Load(place.in);
    const __m128i isEqual = _mm_cmpeq_epi8(values, _mm_set1_epi8('='));
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

ZEVKA_SSE std::size_t Encode(const unsigned char* text, std::size_t length, unsigned char* out) {
  constexpr std::size_t kLanes = 16;
  unsigned char* to = out;
  for (; length >= kLanes; length -= kLanes, text += kLanes) {
    PrefetchInput(text);
    const __m128i row = Load(text);
    const __m128i printable = UpTo(_mm_sub_epi8(row, _mm_set1_epi8(' ')), '~' - ' ');
    const __m128i literal =
        _mm_or_si128(_mm_andnot_si128(_mm_cmpeq_epi8(row, _mm_set1_epi8('=')), printable),
                     _mm_cmpeq_epi8(row, _mm_set1_epi8('\t')));
    if (MaskOf(literal) == 0xFFFFU) {
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

const QpKernels kQpKernelsSse{Decode, Encode};

}  // namespace zevka
