// The line ends of a text.
#ifndef ZEVKA_HOST_SAFE_EDIT_LINE_ENDS_H
#define ZEVKA_HOST_SAFE_EDIT_LINE_ENDS_H

#include <string_view>

namespace zevka::host {

// Whether all line ends of the text are of one kind: CR LF, LF or CR. A text without any is of one.
bool HasOneLineEnd(std::string_view text);

// Whether there is a CR without LF behind it in a text with LF.
bool HasStrayReturn(std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_LINE_ENDS_H
