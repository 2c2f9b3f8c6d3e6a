// UTF-8 to UTF-32 and back, between buffers, without a locale.
//
// UTF-8 is what RFC 3629 allows: no overlong forms, no surrogates, nothing above U+10FFFF. On the
// way to UTF-8 the lenient form lets surrogates pass as three bytes, which the way back refuses.
// A wide character is an unsigned 32-bit code point here.
//
// Threads: any; there is no state.
#ifndef ZEVKA_CODEC_UTF_CONVERT_H
#define ZEVKA_CODEC_UTF_CONVERT_H

#include <cstdint>

namespace zevka {

static_assert(sizeof(wchar_t) == sizeof(std::uint32_t), "wide characters hold UTF-32");

enum class ConversionResult : std::int32_t {
  kOk = 0,               // all of the source was converted
  kSourceExhausted = 1,  // the source ends inside a character
  kTargetExhausted = 2,  // a character did not fit
  kSourceIllegal = 3,    // the source is not what it should be
};

enum class ConversionFlags : std::int32_t { kStrict = 0, kLenient = 1 };

// Converts until the source ends or something is wrong. Both positions advance by what was done; on
// a failure the source stands at the first byte of the character in question.
// A value above U+10FFFF is written as U+FFFD and the conversion goes on; the result is
// kSourceIllegal then unless the target runs out. A surrogate stops the strict form with
// kSourceIllegal. kSourceExhausted does not occur.
ConversionResult ConvertUTF32ToUTF8(const wchar_t*& source, const wchar_t* sourceEnd,
                                    unsigned char*& target, const unsigned char* targetEnd,
                                    ConversionFlags flags);

// The way back. A character that the source cuts off gives kSourceExhausted before its bytes are
// judged; judging comes before the room in the target.
ConversionResult ConvertUTF8ToUTF32(const unsigned char*& source, const unsigned char* sourceEnd,
                                    wchar_t*& target, const wchar_t* targetEnd,
                                    ConversionFlags flags);

}  // namespace zevka

#endif  // ZEVKA_CODEC_UTF_CONVERT_H
