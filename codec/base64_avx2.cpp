// The base64 kernels for AVX2. White space is left out by copying the runs between it.
#include <immintrin.h>

#include <cstdint>

#include "codec/base64_kernels.h"
#include "codec/base64_nibbles.h"
#include "codec/prefetch.h"

#define ZEVKA_AVX2 [[gnu::target("avx2,bmi,bmi2,popcnt")]]

namespace zevka {
namespace {

ZEVKA_AVX2 inline __m128i LoadHalf(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

ZEVKA_AVX2 inline __m256i Load(const void* bytes) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(bytes));
}

ZEVKA_AVX2 inline void Store(void* to, __m256i bytes) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), bytes);
}

// A table for both halves of a register.
ZEVKA_AVX2 inline __m256i Twice(const NibbleTable& table) {
  return _mm256_broadcastsi128_si256(LoadHalf(table.data()));
}

// The values of 32 characters; gives a mask of those that are no digits, whose values mean nothing.
ZEVKA_AVX2 inline std::uint32_t ValuesOfRow(__m256i characters, __m256i& values) {
  const __m256i fourBits = _mm256_set1_epi8(0x0F);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), fourBits);
  const __m256i low = _mm256_and_si256(characters, fourBits);
  const __m256i common = _mm256_and_si256(_mm256_shuffle_epi8(Twice(kBase64HighHalves), high),
                                          _mm256_shuffle_epi8(Twice(kBase64LowHalves), low));
  const __m256i slash = _mm256_cmpeq_epi8(characters, _mm256_set1_epi8('/'));
  const __m256i difference =
      _mm256_shuffle_epi8(Twice(kBase64ToValue), _mm256_add_epi8(high, slash));
  values = _mm256_add_epi8(characters, difference);
  const __m256i isDigit = _mm256_cmpeq_epi8(common, _mm256_setzero_si256());
  return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(isDigit));
}

ZEVKA_AVX2 Base64Squeezed Squeeze(const unsigned char* in, const unsigned char* end,
                                  unsigned char* digits) {
  unsigned char* to = digits;
  while (end - in >= 32) {
    PrefetchInput(in);
    __m256i values;
    const std::uint32_t others = ValuesOfRow(Load(in), values);
    Store(to, values);
    // Known steps do not wait for the mask.
    if (others == 0) {
      in += 32;
      to += 32;
      continue;
    }
    const std::uint32_t run = _tzcnt_u32(others);
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

ZEVKA_AVX2 void Pack(const unsigned char* digits, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 8;
  const __m256i order = Twice(kBase64BytesOfGroups);
  const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
  for (; groups >= kRowGroups; groups -= kRowGroups, digits += 32, out += 24) {
    PrefetchOutput(out);
    const __m256i pairs = _mm256_maddubs_epi16(Load(digits), _mm256_set1_epi32(0x01400140));
    const __m256i values = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(values, order), together);
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(out)), _mm256_castsi256_si128(bytes));
    _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(out + 16)),
                     _mm256_extracti128_si256(bytes, 1));
  }
  Base64PackPlain(digits, groups, out);
}

// The characters of eight groups, each of them as its bytes 1, 0, 2, 1.
ZEVKA_AVX2 inline __m256i Characters(__m256i groups) {
  // Digits 0 and 2 move down, 1 and 3 up, each by a multiplication of 16 bits.
  const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)),
                                          _mm256_set1_epi32(0x04000040));
  const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)),
                                         _mm256_set1_epi32(0x01000010));
  const __m256i digits = _mm256_or_si256(even, odd);
  const __m256i capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), digits);
  const __m256i index = _mm256_or_si256(_mm256_subs_epu8(digits, _mm256_set1_epi8(51)),
                                        _mm256_and_si256(capital, _mm256_set1_epi8(13)));
  return _mm256_add_epi8(digits, _mm256_shuffle_epi8(Twice(kBase64ToCharacter), index));
}

// Encodes eight groups; `order` says where they lie in the two halves, which are read 12 bytes
// apart.
ZEVKA_AVX2 inline void EncodeRow(const unsigned char* in, __m256i order, unsigned char* out) {
  const __m256i bytes =
      _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(in)), LoadHalf(in + 12), 1);
  Store(out, Characters(_mm256_shuffle_epi8(bytes, order)));
}

ZEVKA_AVX2 void EncodeGroups(const unsigned char* in, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 8;
  const __m256i order = Twice(kBase64GroupOrder);
  // A row reads 28 bytes, which are more than its groups.
  for (; groups >= kRowGroups + 2; groups -= kRowGroups, in += 24, out += 32) {
    EncodeRow(in, order, out);
  }
  Base64EncodePlain(in, groups, out);
}

ZEVKA_AVX2 void EncodeLines(const unsigned char* in, std::size_t lines, std::string_view terminator,
                            unsigned char* out) {
  const __m256i order = Twice(kBase64GroupOrder);
  const __m256i lastOrder = Twice(kBase64LastGroupOrder);
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
    // The third row holds the last eight groups, six of them for the second time; it and the
    // second one are read from four bytes before them, so that no byte behind the line is read.
    EncodeRow(in, order, out);
    EncodeRow(in + 24 - 4, lastOrder, out + 32);
    EncodeRow(in + 30 - 4, lastOrder, out + 40);
  }
}

}  // namespace

const Base64Kernels kBase64KernelsAvx2{Squeeze, Pack, EncodeGroups, EncodeLines};

}  // namespace zevka
