// Breaks a field's value into physical lines: at the places where it was broken when it was read,
// or, for a value that the host set, near 70 characters at blanks. Words are never cut, and a value
// that cannot be broken is written as it stands.
//
// Source: RFC 5322 2.2.3.
#ifndef ZEVKA_MIME_HEADER_FOLDING_H
#define ZEVKA_MIME_HEADER_FOLDING_H

#include <optional>
#include <string>
#include <string_view>

#include "mime/segment_list.h"

namespace zevka {

// The value with lineEnd at the end of each segment but the last. Nothing when the segments do not
// fit the value.
std::optional<std::string> RefoldHeaderValue(std::string_view value, const SegmentList& segments,
                                             std::string_view lineEnd);
// The same, behind what `out` holds; false, and `out` as it was, for nothing.
bool AppendRefolded(std::string& out, std::string_view value, const SegmentList& segments,
                    std::string_view lineEnd);

// The value folded for a field of that name, with one space in front when it begins with none. An
// empty value stays empty.
std::string FoldHeaderValue(std::string_view name, std::string_view value,
                            std::string_view lineEnd);

}  // namespace zevka

#endif  // ZEVKA_MIME_HEADER_FOLDING_H
