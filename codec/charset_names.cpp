#include "codec/charset_names.h"

#include <algorithm>

#include "codec/ascii.h"

namespace zevka {

const CharsetRow* FindCharset(std::string_view name) {
  const auto* const row =
      std::find_if(kCharsetRows.begin(), kCharsetRows.end(), [name](const CharsetRow& candidate) {
        return EqualsNoCase(candidate.name, name) ||
               (!candidate.alias.empty() && EqualsNoCase(candidate.alias, name));
      });
  return row == kCharsetRows.end() ? nullptr : row;
}

}  // namespace zevka
