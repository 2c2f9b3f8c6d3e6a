// Finds a text in a block: the way to the next delimiter of a multipart.
#ifndef ZEVKA_MIME_TEXT_SEARCH_H
#define ZEVKA_MIME_TEXT_SEARCH_H

#include <cstddef>
#include <string_view>

namespace zevka {

// The place of the first `text` at `from` or behind it; npos when there is none. `text` has two
// bytes or more. In the worst case the time grows with the block alone, not with both.
std::size_t FindText(std::string_view block, std::string_view text, std::size_t from);

}  // namespace zevka

#endif  // ZEVKA_MIME_TEXT_SEARCH_H
