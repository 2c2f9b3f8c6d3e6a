// The base64 kernels for SSSE3 and SSE4.1. White space is left out by copying the runs between it.
#include <immintrin.h>

#include <bit>
#include <cstdint>

#include "codec/base64_kernels.h"
#include "codec/base64_nibbles.h"
#include "codec/prefetch.h"

#define ZEVKA_SSE [[gnu::target("ssse3,sse4.1")]]

namespace zevka {
namespace {

ZEVKA_SSE inline __m128i Load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

ZEVKA_SSE inline void Store(void* to, __m128i bytes) {
  _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

// The values of 16 characters; gives a mask of those that are no digits, whose values mean nothing.
ZEVKA_SSE inline std::uint32_t ValuesOfRow(__m128i characters, __m128i& values) {
  const __m128i fourBits = _mm_set1_epi8(0x0F);
  const __m128i high = _mm_and_si128(_mm_srli_epi32(characters, 4), fourBits);
  const __m128i low = _mm_and_si128(characters, fourBits);
  const __m128i common = _mm_and_si128(_mm_shuffle_epi8(Load(kBase64HighHalves.data()), high),
                                       _mm_shuffle_epi8(Load(kBase64LowHalves.data()), low));
  const __m128i slash = _mm_cmpeq_epi8(characters, _mm_set1_epi8('/'));
  const __m128i difference =
      _mm_shuffle_epi8(Load(kBase64ToValue.data()), _mm_add_epi8(high, slash));
  values = _mm_add_epi8(characters, difference);
  const __m128i isDigit = _mm_cmpeq_epi8(common, _mm_setzero_si128());
  return 0xFFFFU ^ static_cast<std::uint32_t>(_mm_movemask_epi8(isDigit));
}

ZEVKA_SSE Base64Squeezed Squeeze(const unsigned char* in, const unsigned char* end,
                                 unsigned char* digits) {
  unsigned char* to = digits;
  while (end - in >= 16) {
    PrefetchInput(in);
    __m128i values;
    const std::uint32_t others = ValuesOfRow(Load(in), values);
    Store(to, values);
    // Known steps do not wait for the mask.
    if (others == 0) {
      in += 16;
      to += 16;
      continue;
    }
    const int run = std::countr_zero(others);
    in += run;
    to += run;
    if (kBase64Classes[*in] != kBase64Skipped) {
      return {in, static_cast<std::size_t>(to - digits)};
    }
    do {
      ++in;
    } while (in != end && kBase64Classes[*in] == kBase64Skipped);
  }
  const Base64Squeezed rest = Base64SqueezePlain(in, end, to);
  return {rest.in, static_cast<std::size_t>(to - digits) + rest.digits};
}

ZEVKA_SSE void Pack(const unsigned char* digits, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 4;
  const __m128i order = Load(kBase64BytesOfGroups.data());
  // A row writes 16 bytes, which are more than its groups.
  for (; groups >= kRowGroups + 2; groups -= kRowGroups, digits += 16, out += 12) {
    PrefetchOutput(out);
    const __m128i pairs = _mm_maddubs_epi16(Load(digits), _mm_set1_epi32(0x01400140));
    const __m128i values = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    Store(out, _mm_shuffle_epi8(values, order));
  }
  Base64PackPlain(digits, groups, out);
}

// The characters of four groups, each of them as its bytes 1, 0, 2, 1.
ZEVKA_SSE inline __m128i Characters(__m128i groups) {
  // Digits 0 and 2 move down, 1 and 3 up, each by a multiplication of 16 bits.
  const __m128i even = _mm_mulhi_epu16(_mm_and_si128(groups, _mm_set1_epi32(0x0FC0FC00)),
                                       _mm_set1_epi32(0x04000040));
  const __m128i odd = _mm_mullo_epi16(_mm_and_si128(groups, _mm_set1_epi32(0x003F03F0)),
                                      _mm_set1_epi32(0x01000010));
  const __m128i digits = _mm_or_si128(even, odd);
  const __m128i capital = _mm_cmpgt_epi8(_mm_set1_epi8(26), digits);
  const __m128i index = _mm_or_si128(_mm_subs_epu8(digits, _mm_set1_epi8(51)),
                                     _mm_and_si128(capital, _mm_set1_epi8(13)));
  return _mm_add_epi8(digits, _mm_shuffle_epi8(Load(kBase64ToCharacter.data()), index));
}

// Encodes four groups; `order` says where they lie in the 16 bytes that are read.
ZEVKA_SSE inline void EncodeRow(const unsigned char* in, __m128i order, unsigned char* out) {
  Store(out, Characters(_mm_shuffle_epi8(Load(in), order)));
}

ZEVKA_SSE void EncodeGroups(const unsigned char* in, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 4;
  const __m128i order = Load(kBase64GroupOrder.data());
  // A row reads 16 bytes, which are more than its groups.
  for (; groups >= kRowGroups + 2; groups -= kRowGroups, in += 12, out += 16) {
    EncodeRow(in, order, out);
  }
  Base64EncodePlain(in, groups, out);
}

ZEVKA_SSE void EncodeLines(const unsigned char* in, std::size_t lines, std::string_view terminator,
                           unsigned char* out) {
  const __m128i order = Load(kBase64GroupOrder.data());
  const __m128i lastOrder = Load(kBase64LastGroupOrder.data());
  const unsigned char first = terminator.empty() ? '\0' : static_cast<unsigned char>(terminator[0]);
  const unsigned char last =
      terminator.empty() ? '\0' : static_cast<unsigned char>(terminator.back());
  for (; lines != 0; --lines, in += kBase64LineBytes, out += kBase64LineLength) {
    PrefetchInput(in);
    PrefetchOutput(out);
    PrefetchOutput(out + 64);
    // What is too much of the terminator is overwritten.
    out[0] = first;
    out[1] = last;
    out += terminator.size();
    for (std::size_t row = 0; row < 4; ++row) {
      EncodeRow(in + 12 * row, order, out + 16 * row);
    }
    // The last four groups, two of them for the second time, are read from four bytes before them,
    // so that no byte behind the line is read.
    EncodeRow(in + 42 - 4, lastOrder, out + 56);
  }
}

}  // namespace

const Base64Kernels kBase64KernelsSse{Squeeze, Pack, EncodeGroups, EncodeLines};

}  // namespace zevka
