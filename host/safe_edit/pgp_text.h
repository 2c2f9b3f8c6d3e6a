// Finds OpenPGP messages that stand in a text itself.
//
// Threads: any. Nothing throws but for want of memory.
//
// Source: RFC 9580 6.2 and 7.
#ifndef ZEVKA_HOST_SAFE_EDIT_PGP_TEXT_H
#define ZEVKA_HOST_SAFE_EDIT_PGP_TEXT_H

#include <string_view>

namespace zevka::host {

// What the text is written in. In HTML a block may also begin behind a tag.
enum class TextKind { kPlain, kHtml };

// Whether a line begins an armored or a clear-signed message; blanks may stand in front, and a mark
// of the byte order at the head of the text. In UTF-16 and UTF-32 too: NUL bytes are passed over.
// Keys do not count, nor do signatures by themselves, nor blocks behind the '>' of a quotation.
bool HoldsPgpMessage(std::string_view text, TextKind kind = TextKind::kPlain);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_PGP_TEXT_H
