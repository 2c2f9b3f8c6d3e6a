// The three ways in which a message may end its lines, and the bytes of each.
//
// Mail is meant to travel with CR LF (RFC 5322 2.3); files on disk come with any of the three, and
// a message keeps what it came with.
#ifndef ZEVKA_CODEC_LINE_END_STYLE_H
#define ZEVKA_CODEC_LINE_END_STYLE_H

#include <cstdint>
#include <string_view>

namespace zevka {

// The numbers are the ones that the field of a part has always had.
enum class LineEndStyle : std::int32_t {
  kUnknown = -1,  // no line end has been read; counts as LF
  kCrLf = 0,
  kCr = 1,
  kLf = 2,
};

// One or two bytes. Every style but CR LF and CR gives LF.
inline constexpr std::string_view LineEndBytes(LineEndStyle style) {
  if (style == LineEndStyle::kCrLf) {
    return "\r\n";
  }
  return style == LineEndStyle::kCr ? "\r" : "\n";
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_LINE_END_STYLE_H
