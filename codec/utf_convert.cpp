#include "codec/utf_convert.h"

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <iterator>

namespace zevka {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

// What marks the first byte of a character, by its length in bytes.
constexpr std::array<std::uint32_t, 5> kFirstByteMarks{0, 0x00, 0xC0, 0xE0, 0xF0};

// What the marks of all bytes add up to when a character is put together, by its trailing bytes.
constexpr std::array<std::uint32_t, 4> kOffsets{0, 0x3080, 0xE2080, 0x3C82080};

constexpr bool IsSurrogate(std::uint32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}

constexpr std::ptrdiff_t LengthInUtf8(std::uint32_t c) {
  if (c < 0x80) {
    return 1;
  }
  if (c < 0x800) {
    return 2;
  }
  return c < 0x10000 ? 3 : 4;
}

// 4 and 5 belong to forms that are never legal, but count when the source ends.
constexpr std::ptrdiff_t TrailingBytes(unsigned char lead) {
  if (lead < 0xC0) {
    return 0;
  }
  if (lead < 0xE0) {
    return 1;
  }
  if (lead < 0xF0) {
    return 2;
  }
  if (lead < 0xF8) {
    return 3;
  }
  return lead < 0xFC ? 4 : 5;
}

struct ByteRange {
  unsigned char low;
  unsigned char high;
};

// What may stand behind the lead byte at once: no overlong forms, no surrogates, nothing too large.
constexpr ByteRange SecondByteRange(unsigned char lead) {
  switch (lead) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {0x80, 0xBF};
  }
}

bool IsLegal(const unsigned char* sequence, std::ptrdiff_t trailing) {
  const unsigned char lead = sequence[0];
  if (lead < 0x80) {
    return true;
  }
  if (lead < 0xC2 || lead > 0xF4) {
    return false;
  }
  const ByteRange second = SecondByteRange(lead);
  if (sequence[1] < second.low || sequence[1] > second.high) {
    return false;
  }
  for (std::ptrdiff_t i = 2; i <= trailing; ++i) {
    if ((sequence[i] & 0xC0) != 0x80) {
      return false;
    }
  }
  return true;
}

std::uint32_t Accumulate(const unsigned char* sequence, std::ptrdiff_t trailing) {
  std::uint32_t c = sequence[0];
  for (std::ptrdiff_t i = 1; i <= trailing; ++i) {
    c = (c << 6) + sequence[i];
  }
  return c - kOffsets[static_cast<std::size_t>(trailing)];
}

// Characters that are copied at a time where all are ASCII. SSE2 is there on every machine.
constexpr std::ptrdiff_t kRow = 16;

__m128i Load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

void Store(void* to, __m128i bytes) {
  _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

// Copies rows of ASCII from both beginnings on, as long as there are any.
void WidenRows(const unsigned char*& source, const unsigned char* sourceEnd, wchar_t*& target,
               const wchar_t* targetEnd) {
  const __m128i zero = _mm_setzero_si128();
  while (sourceEnd - source >= kRow && targetEnd - target >= kRow) {
    const __m128i row = Load(source);
    if (_mm_movemask_epi8(row) != 0) {
      return;
    }
    const __m128i low = _mm_unpacklo_epi8(row, zero);
    const __m128i high = _mm_unpackhi_epi8(row, zero);
    Store(target, _mm_unpacklo_epi16(low, zero));
    Store(target + 4, _mm_unpackhi_epi16(low, zero));
    Store(target + 8, _mm_unpacklo_epi16(high, zero));
    Store(target + 12, _mm_unpackhi_epi16(high, zero));
    source += kRow;
    target += kRow;
  }
}

void NarrowRows(const wchar_t*& source, const wchar_t* sourceEnd, unsigned char*& target,
                const unsigned char* targetEnd) {
  while (sourceEnd - source >= kRow && targetEnd - target >= kRow) {
    const __m128i first = Load(source);
    const __m128i second = Load(source + 4);
    const __m128i third = Load(source + 8);
    const __m128i fourth = Load(source + 12);
    const __m128i bits = _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, fourth));
    const __m128i others = _mm_andnot_si128(_mm_set1_epi32(0x7F), bits);
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(others, _mm_setzero_si128())) != 0xFFFF) {
      return;
    }
    Store(target, _mm_packus_epi16(_mm_packs_epi32(first, second), _mm_packs_epi32(third, fourth)));
    source += kRow;
    target += kRow;
  }
}

}  // namespace

ConversionResult ConvertUTF32ToUTF8(const wchar_t*& source, const wchar_t* sourceEnd,
                                    unsigned char*& target, const unsigned char* targetEnd,
                                    ConversionFlags flags) {
  ConversionResult result = ConversionResult::kOk;
  std::ptrdiff_t untried = sourceEnd - source;  // behind the last row that was tried
  for (; source < sourceEnd; ++source) {
    auto c = static_cast<std::uint32_t>(static_cast<std::int32_t>(*source));
    if (c < 0x80 && sourceEnd - source <= untried) {
      NarrowRows(source, sourceEnd, target, targetEnd);
      untried = sourceEnd - source - kRow;
      if (source == sourceEnd) {
        break;
      }
      c = static_cast<std::uint32_t>(static_cast<std::int32_t>(*source));
    }
    // KEEP(utf-lenient-surrogates): the lenient form writes a surrogate like any other value.
    if (flags == ConversionFlags::kStrict && IsSurrogate(c)) {
      return ConversionResult::kSourceIllegal;
    }
    if (c > kLastCodePoint) {
      // KEEP(utf-replaced-is-illegal): U+FFFD is written, and the conversion still counts as
      // failed.
      c = kReplacement;
      result = ConversionResult::kSourceIllegal;
    }
    const std::ptrdiff_t length = LengthInUtf8(c);
    if (targetEnd - target < length) {
      return ConversionResult::kTargetExhausted;
    }
    for (std::ptrdiff_t i = length - 1; i > 0; --i) {
      target[i] = static_cast<unsigned char>(0x80 | (c & 0x3F));
      c >>= 6;
    }
    target[0] = static_cast<unsigned char>(kFirstByteMarks[static_cast<std::size_t>(length)] | c);
    target += length;
  }
  return result;
}

ConversionResult ConvertUTF8ToUTF32(const unsigned char*& source, const unsigned char* sourceEnd,
                                    wchar_t*& target, const wchar_t* targetEnd,
                                    ConversionFlags flags) {
  ConversionResult result = ConversionResult::kOk;
  std::ptrdiff_t untried = sourceEnd - source;  // behind the last row that was tried
  while (source < sourceEnd) {
    if (*source < 0x80 && sourceEnd - source <= untried) {
      WidenRows(source, sourceEnd, target, targetEnd);
      untried = sourceEnd - source - kRow;
      if (source == sourceEnd) {
        break;
      }
    }
    const std::ptrdiff_t trailing = TrailingBytes(*source);
    if (sourceEnd - source <= trailing) {
      return ConversionResult::kSourceExhausted;
    }
    if (!IsLegal(source, trailing)) {
      return ConversionResult::kSourceIllegal;
    }
    if (target >= targetEnd) {
      return ConversionResult::kTargetExhausted;
    }
    std::uint32_t c = Accumulate(source, trailing);
    // What is legal is neither a surrogate nor too large; the two tests below only say what would
    // become of one.
    if (IsSurrogate(c)) {
      if (flags == ConversionFlags::kStrict) {
        return ConversionResult::kSourceIllegal;
      }
      c = kReplacement;
    } else if (c > kLastCodePoint) {
      c = kReplacement;
      result = ConversionResult::kSourceIllegal;
    }
    *target++ = static_cast<wchar_t>(c);
    source += trailing + 1;
  }
  return result;
}

}  // namespace zevka
