// The base64 kernels for AVX-512 with VBMI and VBMI2: one table look-up for 64 characters, white
// space pressed out by VPCOMPRESSB, and byte permutations across the whole register.
#include <array>
#include <cstdint>

#include "codec/avx512.h"
#include "codec/base64_kernels.h"
#include "codec/base64_tables.h"
#include "codec/prefetch.h"

namespace zevka {
namespace {

using Row = std::array<unsigned char, 64>;

constexpr unsigned char kOdd = 0x80;    // neither digit nor white space
constexpr unsigned char kWhite = 0x40;  // and no bit of a digit's value

// What is made of 64 characters, `first` and those behind it.
constexpr Row MakeValues(std::size_t first) {
  Row row{};
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::int16_t value = kBase64Classes[first + i];
    row[i] =
        value >= 0 ? static_cast<unsigned char>(value) : (value == kBase64Skipped ? kWhite : kOdd);
  }
  return row;
}

// The three bytes of each dword that holds a group, the most significant one first.
constexpr Row MakeBytesOfGroups() {
  Row row{};
  for (std::size_t i = 0; i < 48; ++i) {
    row[i] = static_cast<unsigned char>(i / 3 * 4 + 2 - i % 3);
  }
  return row;
}

// For each group the bytes 1, 0, 2, 1: all digits are runs of bits then.
constexpr Row MakeGroupsOfBytes() {
  Row row{};
  constexpr std::array<std::size_t, 4> kOrder{1, 0, 2, 1};
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<unsigned char>(i / 4 * 3 + kOrder[i % 4]);
  }
  return row;
}

// Where the digits of two groups begin in eight such bytes.
constexpr Row MakeDigitShifts() {
  Row row{};
  constexpr std::array<unsigned char, 4> kShifts{10, 4, 22, 16};
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<unsigned char>(kShifts[i % 4] + (i % 8 < 4 ? 0 : 32));
  }
  return row;
}

constexpr Row MakeAlphabet() {
  Row row{};
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<unsigned char>(kBase64Alphabet[i]);
  }
  return row;
}

alignas(64) constexpr Row kLowValues = MakeValues(0);
alignas(64) constexpr Row kHighValues = MakeValues(64);
alignas(64) constexpr Row kBytesOfGroups = MakeBytesOfGroups();
alignas(64) constexpr Row kGroupsOfBytes = MakeGroupsOfBytes();
alignas(64) constexpr Row kDigitShifts = MakeDigitShifts();
alignas(64) constexpr Row kAlphabet = MakeAlphabet();

// Squeezes those of 64 characters that are present; gives a mask of the odd ones.
ZEVKA_AVX512 inline std::uint64_t SqueezeRow(__m512i characters, std::uint64_t present,
                                             unsigned char*& to) {
  const __m512i values =
      _mm512_permutex2var_epi8(LoadRow(kLowValues.data()), characters, LoadRow(kHighValues.data()));
  const std::uint64_t odd = _mm512_movepi8_mask(_mm512_or_si512(values, characters)) & present;
  const std::uint64_t white = _mm512_test_epi8_mask(values, _mm512_set1_epi8(kWhite));
  const std::uint64_t beforeOdd = ~odd & (odd - 1);
  const std::uint64_t digits = beforeOdd & present & ~white;
  _mm512_storeu_si512(to, _mm512_maskz_compress_epi8(digits, values));
  to += _mm_popcnt_u64(digits);
  return odd;
}

ZEVKA_AVX512 Base64Squeezed Squeeze(const unsigned char* in, const unsigned char* end,
                                    unsigned char* digits) {
  unsigned char* to = digits;
  std::uint64_t odd = 0;
  for (; end - in >= 64; in += 64) {
    PrefetchInput(in);
    odd = SqueezeRow(LoadRow(in), ~std::uint64_t{0}, to);
    if (odd != 0) {
      break;
    }
  }
  if (odd == 0 && in != end) {
    const __mmask64 present = FirstLanes(static_cast<std::size_t>(end - in));
    odd = SqueezeRow(_mm512_maskz_loadu_epi8(present, in), present, to);
    if (odd == 0) {
      in = end;
    }
  }
  if (odd != 0) {
    in += _tzcnt_u64(odd);
  }
  return {in, static_cast<std::size_t>(to - digits)};
}

// 48 bytes of 64 digits.
ZEVKA_AVX512 inline __m512i PackRow(__m512i digits) {
  const __m512i pairs = _mm512_maddubs_epi16(digits, _mm512_set1_epi32(0x01400140));
  const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
  return _mm512_permutexvar_epi8(LoadRow(kBytesOfGroups.data()), groups);
}

ZEVKA_AVX512 void Pack(const unsigned char* digits, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 16;
  for (; groups >= kRowGroups; groups -= kRowGroups, digits += 64, out += 48) {
    PrefetchOutput(out);
    _mm512_mask_storeu_epi8(out, (std::uint64_t{1} << 48) - 1, PackRow(LoadRow(digits)));
  }
  if (groups != 0) {
    const __m512i rest = _mm512_maskz_loadu_epi8(FirstLanes(4 * groups), digits);
    _mm512_mask_storeu_epi8(out, FirstLanes(3 * groups), PackRow(rest));
  }
}

// The characters of eight bytes for each two groups.
ZEVKA_AVX512 inline __m512i Characters(__m512i groups) {
  const __m512i digits = _mm512_multishift_epi64_epi8(LoadRow(kDigitShifts.data()), groups);
  return _mm512_permutexvar_epi8(digits, LoadRow(kAlphabet.data()));
}

// The characters of sixteen groups, which are the first 48 bytes.
ZEVKA_AVX512 inline __m512i EncodeRow(__m512i bytes) {
  return Characters(_mm512_permutexvar_epi8(LoadRow(kGroupsOfBytes.data()), bytes));
}

ZEVKA_AVX512 void EncodeGroups(const unsigned char* in, std::size_t groups, unsigned char* out) {
  constexpr std::size_t kRowGroups = 16;
  for (; groups >= kRowGroups; groups -= kRowGroups, in += 48, out += 64) {
    _mm512_storeu_si512(out, EncodeRow(_mm512_maskz_loadu_epi8(FirstLanes(48), in)));
  }
  if (groups != 0) {
    const __m512i rest = _mm512_maskz_loadu_epi8(FirstLanes(3 * groups), in);
    _mm512_mask_storeu_epi8(out, FirstLanes(4 * groups), EncodeRow(rest));
  }
}

ZEVKA_AVX512 void EncodeLines(const unsigned char* in, std::size_t lines,
                              std::string_view terminator, unsigned char* out) {
  // Sixteen groups of a line are one row, the other two the first eight bytes of a second one.
  const __m512i groupsBehind =
      _mm512_add_epi8(LoadRow(kGroupsOfBytes.data()), _mm512_set1_epi8(48));
  const unsigned char first = terminator.empty() ? '\0' : static_cast<unsigned char>(terminator[0]);
  const unsigned char last =
      terminator.empty() ? '\0' : static_cast<unsigned char>(terminator.back());
  for (; lines != 0; --lines, in += kBase64LineBytes) {
    PrefetchInput(in);
    PrefetchOutput(out);
    PrefetchOutput(out + 64);
    const __m512i bytes = _mm512_maskz_loadu_epi8(FirstLanes(kBase64LineBytes), in);
    // What is too much of the terminator is overwritten.
    out[0] = first;
    out[1] = last;
    out += terminator.size();
    _mm512_storeu_si512(out, EncodeRow(bytes));
    const __m512i behind = Characters(_mm512_permutexvar_epi8(groupsBehind, bytes));
    _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(out + 64)),
                     _mm512_castsi512_si128(behind));
    out += kBase64LineLength;
  }
}

}  // namespace

const Base64Kernels kBase64KernelsAvx512{Squeeze, Pack, EncodeGroups, EncodeLines};

}  // namespace zevka
