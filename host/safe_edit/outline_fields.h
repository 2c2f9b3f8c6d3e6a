// What the outline's reader asks of single fields and of a finished header block.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 5322 2.2 and 4.5 (blanks in front of the colon), RFC 2045 5.2 (default type)
// and 6.1, RFC 2046 5.1.5 (digests).
#ifndef ZEVKA_HOST_SAFE_EDIT_OUTLINE_FIELDS_H
#define ZEVKA_HOST_SAFE_EDIT_OUTLINE_FIELDS_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// The name and the colon at the head of a line. Names hold any bytes but blanks, tabs and colons:
// more than the standard permits, and never mistaken for a delimiter of it.
struct FieldHead {
  std::size_t nameBytes = 0;   // 0 when the line is no field
  std::size_t valueBegin = 0;  // behind the colon
};
FieldHead HeadOf(std::string_view line);

// Whether two texts are the same but for the case of ASCII letters.
bool EqualsLower(std::string_view text, std::string_view lower);

// Fills in mediaType, encoding and boundary from the part's fields.
//   defaultType  for a part without a media type
void SettleType(OutlinePart* part, std::string_view defaultType, OutlineWay way);

// Whether the media type is one of those that hold a message.
bool HoldsMessage(const OutlinePart& part);

// Whether the encoding is one that DecodedBody takes off.
bool IsTransferEncoded(const OutlinePart& part);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_OUTLINE_FIELDS_H
