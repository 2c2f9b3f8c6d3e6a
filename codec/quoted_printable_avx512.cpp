// The quoted-printable kernels for AVX-512 with VBMI and VBMI2: all escapes and soft line breaks of
// 64 characters are decoded at once and their other characters pressed out.
#include <algorithm>
#include <array>
#include <cstdint>

#include "codec/avx512.h"
#include "codec/prefetch.h"
#include "codec/quoted_printable_kernels.h"

namespace zevka {
namespace {

using Row = std::array<unsigned char, 64>;

constexpr Row MakeDigits(std::size_t first) {
  Row row{};
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = kQpDigits[first + i];
  }
  return row;
}

alignas(64) constexpr Row kLowDigits = MakeDigits(0);
alignas(64) constexpr Row kHighDigits = MakeDigits(64);
// The digits once in each quarter.
constexpr Row MakeHexDigits() {
  Row row{};
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<unsigned char>("0123456789ABCDEF"[i % 16]);
  }
  return row;
}

alignas(64) constexpr Row kHexDigits = MakeHexDigits();

// 64 characters, and from each of them the one behind it and the second behind it.
struct Text {
  __m512i here;
  __m512i next;
  __m512i second;
};

// The values of digits; the highest bit of a byte is set for every other character.
ZEVKA_AVX512 inline __m512i DigitsOf(__m512i characters) {
  const __m512i digits =
      _mm512_permutex2var_epi8(LoadRow(kLowDigits.data()), characters, LoadRow(kHighDigits.data()));
  return _mm512_or_si512(digits, _mm512_and_si512(characters, _mm512_set1_epi8('\x80')));
}

struct SoftBreak {
  __m512i first;  // in all lanes: the character behind "="
  bool pair;      // with a LF behind it
};

// Decodes 64 characters into at most as many bytes, which `values` gets; says which lanes count.
ZEVKA_AVX512 inline QpKept DecodeRow(const Text& text, const SoftBreak& softBreak,
                                     std::uint64_t carried, __m512i& values) {
  const __m512i high = DigitsOf(text.next);
  const __m512i low = DigitsOf(text.second);
  const std::uint64_t noDigits = _mm512_movepi8_mask(_mm512_or_si512(high, low));
  const __m512i shifted = _mm512_and_si512(_mm512_slli_epi16(high, 4), _mm512_set1_epi8('\xF0'));
  const __m512i escaped = _mm512_or_si512(shifted, low);
  const std::uint64_t equals = _mm512_cmpeq_epi8_mask(text.here, _mm512_set1_epi8('='));
  std::uint64_t softBreaks = _mm512_mask_cmpeq_epi8_mask(equals, text.next, softBreak.first);
  if (softBreak.pair) {
    softBreaks = _mm512_mask_cmpeq_epi8_mask(softBreaks, text.second, _mm512_set1_epi8('\n'));
  }
  const std::uint64_t escapes = equals & ~noDigits;
  values = _mm512_mask_mov_epi8(text.here, escapes, escaped);
  return KeepLanes<64>({equals, escapes, softBreaks}, carried, softBreak.pair);
}

// The text at `in`; what lies behind the end reads as zero.
ZEVKA_AVX512 inline Text LoadText(const unsigned char* in, std::size_t left) {
  if (left >= 66) {
    return {LoadRow(in), LoadRow(in + 1), LoadRow(in + 2)};
  }
  const std::uint64_t present = FirstLanes(std::min<std::size_t>(left, 64));
  const std::uint64_t next = FirstLanes(std::min<std::size_t>(left - 1, 64));
  const std::uint64_t second = left < 2 ? 0 : FirstLanes(left - 2);
  return {_mm512_maskz_loadu_epi8(present, in), _mm512_maskz_loadu_epi8(next, in + 1),
          _mm512_maskz_loadu_epi8(second, in + 2)};
}

ZEVKA_AVX512 QpPlace Decode(QpPlace place, const unsigned char* end, const unsigned char* outEnd,
                            LineEndStyle lineEnd) {
  const SoftBreak softBreak{_mm512_set1_epi8(LineEndBytes(lineEnd)[0]),
                            lineEnd == LineEndStyle::kCrLf};
  std::uint64_t carried = 0;
  while (place.in != end) {
    PrefetchInput(place.in);
    PrefetchOutput(place.out);
    const auto left = static_cast<std::size_t>(end - place.in);
    const std::size_t length = std::min<std::size_t>(left, 64);
    __m512i values;
    const QpKept kept = DecodeRow(LoadText(place.in, left), softBreak, carried, values);
    const std::uint64_t lanes = kept.lanes & FirstLanes(length);
    const auto count = static_cast<std::ptrdiff_t>(_mm_popcnt_u64(lanes));
    if (outEnd - place.out < count) {
      // Between two escapes, which is behind those that the row before began.
      place.in += _mm_popcnt_u64(carried);
      return place;
    }
    _mm512_mask_storeu_epi8(place.out, FirstLanes(static_cast<std::size_t>(count)),
                            _mm512_maskz_compress_epi8(lanes, values));
    place.out += count;
    if (kept.stops != 0) {
      place.in += _tzcnt_u64(kept.stops);
      return place;
    }
    carried = kept.carried;
    place.in += length;
  }
  return place;
}

// Encodes sixteen bytes, or fewer when not all are present; gives the characters.
ZEVKA_AVX512 inline std::size_t EncodeQuarter(__m128i bytes, std::uint32_t escapes,
                                              std::uint64_t present, unsigned char* out) {
  // Four lanes for each byte: itself or "=", its two digits, and one that is never kept.
  const __m512i wide = _mm512_cvtepu8_epi32(bytes);
  const __m512i halves =
      _mm512_or_si512(_mm512_and_si512(_mm512_slli_epi32(wide, 4), _mm512_set1_epi32(0x00000F00)),
                      _mm512_and_si512(_mm512_slli_epi32(wide, 16), _mm512_set1_epi32(0x000F0000)));
  const __m512i first =
      _mm512_mask_mov_epi32(wide, static_cast<__mmask16>(escapes), _mm512_set1_epi32('='));
  const __m512i characters =
      _mm512_mask_shuffle_epi8(first, 0x6666666666666666U, LoadRow(kHexDigits.data()), halves);
  const std::uint64_t spread = _pdep_u64(escapes, 0x1111111111111111U);
  const std::uint64_t kept = (0x1111111111111111U | (spread << 1) | (spread << 2)) & present;
  _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(kept, characters));
  return static_cast<std::size_t>(_mm_popcnt_u64(kept));
}

ZEVKA_AVX512 std::size_t Encode(const unsigned char* text, std::size_t length, unsigned char* out) {
  unsigned char* to = out;
  for (std::size_t at = 0; at < length; at += 64) {
    PrefetchInput(text + at);
    const std::size_t count = std::min<std::size_t>(length - at, 64);
    const __m512i row = _mm512_maskz_loadu_epi8(FirstLanes(count), text + at);
    const std::uint64_t printable = _mm512_cmple_epu8_mask(
        _mm512_sub_epi8(row, _mm512_set1_epi8(' ')), _mm512_set1_epi8('~' - ' '));
    const std::uint64_t literal =
        (printable & _mm512_cmpneq_epi8_mask(row, _mm512_set1_epi8('='))) |
        _mm512_cmpeq_epi8_mask(row, _mm512_set1_epi8('\t'));
    const std::uint64_t escapes = ~literal & FirstLanes(count);
    if (escapes == 0) {
      _mm512_storeu_si512(to, row);
      to += count;
      continue;
    }
    alignas(64) Row bytes;
    _mm512_store_si512(bytes.data(), row);
    for (std::size_t quarter = 0; quarter < count; quarter += 16) {
      to += EncodeQuarter(_mm_load_si128(static_cast<const __m128i*>(
                              static_cast<const void*>(bytes.data() + quarter))),
                          static_cast<std::uint32_t>((escapes >> quarter) & 0xFFFF),
                          FirstLanes(std::min<std::size_t>(4 * (count - quarter), 64)), to);
    }
  }
  return static_cast<std::size_t>(to - out);
}

}  // namespace

const QpKernels kQpKernelsAvx512{Decode, Encode};

}  // namespace zevka
