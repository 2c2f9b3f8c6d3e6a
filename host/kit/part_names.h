// The names that a part gives itself in its Content-Disposition and Content-Type fields.
//
// Lenient where mail readers are: blanks around "=", values without quotes up to the next
// semicolon, quotes that are never closed, encoded words inside of quotes, repeated fields and
// parameters. Everything that somebody may show as the name comes out.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 2183 2.3 (filename), RFC 2045 5.1 (parameters), RFC 2231 3 and 4 (pieces, charsets),
// RFC 2047 (encoded words, which mailers put there against its section 5).
#ifndef ZEVKA_HOST_KIT_PART_NAMES_H
#define ZEVKA_HOST_KIT_PART_NAMES_H

#include <zevka/host.h>

#include <string>
#include <vector>

namespace zevka::host {

// All names, each once and none empty: those of Content-Disposition before those of Content-Type,
// extended forms before plain ones. In UTF-8; what is no text in its charset stays as it is.
std::vector<std::string> NamesInFields(const std::vector<HeaderField>& fields);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_PART_NAMES_H
