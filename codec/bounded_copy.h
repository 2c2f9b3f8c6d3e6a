// The edge to C strings: copies of text into a buffer of fixed room. This is the one place that
// settles what happens when the room is too small.
//
// A padded copy fills the room exactly, as strncpy does: the text, then zeros; a text that fills
// the room has no terminator. A terminated copy is a padded one whose last cell is zero. A text
// ends at its first NUL. No room is fine: nothing is written then, and the buffer may be null.
#ifndef ZEVKA_CODEC_BOUNDED_COPY_H
#define ZEVKA_CODEC_BOUNDED_COPY_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zevka {

// The text up to its first NUL.
inline constexpr std::string_view CutAtNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Writes `room` bytes: the text, cut to the room, and zeros behind it.
inline void CopyPadded(char* out, std::size_t room, std::string_view text) {
  if (room == 0) {
    return;
  }
  const std::string_view fitting = CutAtNul(text.substr(0, room));
  std::copy(fitting.begin(), fitting.end(), out);
  std::fill_n(out + fitting.size(), room - fitting.size(), '\0');
}

// CopyPadded in wide characters; `roomWide` counts wide characters.
inline void CopyPaddedWide(wchar_t* out, std::size_t roomWide, std::wstring_view text) {
  if (roomWide == 0) {
    return;
  }
  const std::wstring_view cut = text.substr(0, roomWide);
  const std::wstring_view fitting = cut.substr(0, cut.find(L'\0'));
  std::copy(fitting.begin(), fitting.end(), out);
  std::fill_n(out + fitting.size(), roomWide - fitting.size(), L'\0');
}

// CopyPadded whose last byte is a NUL.
inline void CopyTerminated(char* out, std::size_t room, std::string_view text) {
  if (room != 0) {
    CopyPadded(out, room, text);
    out[room - 1] = '\0';
  }
}

// CopyPaddedWide whose last wide character is zero.
inline void CopyTerminatedWide(wchar_t* out, std::size_t roomWide, std::wstring_view text) {
  if (roomWide != 0) {
    CopyPaddedWide(out, roomWide, text);
    out[roomWide - 1] = L'\0';
  }
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_BOUNDED_COPY_H
