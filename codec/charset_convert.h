// Bytes in a declared charset as text for the host: wide, or narrow in the process's encoding.
//
// The system's iconv converts. The library is not linked with it: its three functions are looked
// for in the process when the first conversion needs them and kept from then on; until they are
// found every conversion fails. Which names are accepted is settled by charset_names.h first.
//
// A result that the locale cannot hold is no failure: the text "(conversion-error)" takes its
// place.
//
// Threads: any; the functions that are found are published at once or not at all, and a descriptor
// lives for one call.
#ifndef ZEVKA_CODEC_CHARSET_CONVERT_H
#define ZEVKA_CODEC_CHARSET_CONVERT_H

#include <cstddef>
#include <string_view>

namespace zevka {

// Converts into wide characters.
//   charset       of the input, in any case; null is an unknown charset
//   out           filled to its end: the text, cut, then zeros; its last cell is always zero
//   capacityWide  room in wide characters. The UTF-8 form of the text must fit in that many bytes
//                 too; a text of exactly so many loses its last byte
// Result: 0; -1 for an unknown charset, for input that is not of that charset or ends inside a
// character, for one that is too long, and when there is no iconv or no memory: `out` is untouched.
int ConvertToWide(const char* charset, std::string_view input, wchar_t* out,
                  std::size_t capacityWide);

// Converts into the multibyte encoding of the process's locale, or UTF-8 where that refuses.
//   out           filled to its end as above; it may be the input's own buffer
//   outSizeBytes  room in bytes
// Result: the length of the text in `out`, in bytes; -1 as above, and for more than 2048 bytes of
// UTF-8: `out` is untouched.
int ConvertToNarrow(const char* charset, std::string_view input, char* out,
                    std::size_t outSizeBytes);

}  // namespace zevka

#endif  // ZEVKA_CODEC_CHARSET_CONVERT_H
