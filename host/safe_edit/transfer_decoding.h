// Takes transfer encodings off, forgivingly: what no encoder would write is passed over or stands
// for itself, and all the rest is decoded. Linear in the text.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 2045 6.7 and 6.8.
#ifndef ZEVKA_HOST_SAFE_EDIT_TRANSFER_DECODING_H
#define ZEVKA_HOST_SAFE_EDIT_TRANSFER_DECODING_H

#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

// Characters outside the alphabet are skipped. Padding ends a group, and decoding goes on behind
// it; bits that make no whole byte are dropped.
std::string DecodeBase64(std::string_view text);

// Whether the text is base64 and nothing else: digits, line ends and blanks, and padding at its
// end. Anything more would be lost when the decoded bytes are encoded anew.
bool IsCleanBase64(std::string_view text);

// Blanks and tabs at the end of a line go. A "=" that begins neither an escape nor a soft line
// break stands for itself; hexadecimal digits of either case are known.
std::string DecodeQuotedPrintable(std::string_view text);

// The byte of two hexadecimal digits at the head of the text.
std::optional<char> HexByte(std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_TRANSFER_DECODING_H
