// The footer's own text: whether it is plain, and how its lines are written.
#ifndef ZEVKA_FOOTER_FOOTER_TEXT_H
#define ZEVKA_FOOTER_FOOTER_TEXT_H

#include <string>
#include <string_view>

#include "fileio/open_file.h"

namespace zevka {

// Whether every byte is TAB, LF, CR or printable ASCII. The empty text is plain.
bool IsPlainFooter(std::string_view text);

// Writes the footer to an open file: a plain one as lines that end with lineEnd, any other as
// base64 followed by lineEnd. A failed write shows in the file's error flag only.
void WriteFooterLines(OpenFile& file, std::string_view text, std::string_view lineEnd);

}  // namespace zevka

#endif  // ZEVKA_FOOTER_FOOTER_TEXT_H
