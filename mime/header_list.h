// The header fields of a part, in the order of the message, as they were read or set: the name as
// it stands before the colon, the value as it stands after it, continuation lines joined. Reading a
// meaning out of a value is header_values' work.
//
// A field that was read remembers where its physical lines ended (SegmentNode), so that the writer
// folds it at the same places; a field that the host set has no segments and is folded anew
// (header_folding).
//
// Source: RFC 5322 2.2.
#ifndef ZEVKA_MIME_HEADER_LIST_H
#define ZEVKA_MIME_HEADER_LIST_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "codec/line_end_style.h"
#include "mime/segment_list.h"

namespace zevka {

// Where the lines of a field stand in the text that its part was read from (PartState::origin), if
// they would be written as they stand there.
struct SourceLines {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;  // behind the last line end; 0 for a field that has to be written anew
  LineEndStyle style = LineEndStyle::kUnknown;  // of all its line ends

  bool IsKnown() const { return end != 0; }
};

struct HeaderNode {
  std::string name;
  std::string value;
  SegmentList segments;  // increasing; the last is the value's length. Empty: folded anew
  SourceLines source = {};
};

// A list, so that cursors of other threads survive insertions and fields move between parts by
// splice.
using HeaderList = std::list<HeaderNode>;

// The buffer sizes that a host needs for any field of a part, terminators included. Only ever
// raised.
struct HeaderSizes {
  std::uint64_t nameSize = 256;
  std::uint32_t valueSize = 1024;

  // Takes in a field of these lengths in bytes, terminators not counted.
  void Cover(std::size_t nameLength, std::size_t valueLength);
  // Takes the larger of each size.
  void Cover(const HeaderSizes& other);
};

// Appends a field. Both texts end at their first NUL.
HeaderNode& AppendNode(HeaderList& list, std::string_view name, std::string_view value);

// The first field of that name, compared without regard to case; end() when there is none.
HeaderList::const_iterator FindField(const HeaderList& list, std::string_view name);

// Whether a name, as it stands, is that of a DKIM-Signature or DomainKey-Signature field.
bool IsDomainSignature(std::string_view name);

}  // namespace zevka

#endif  // ZEVKA_MIME_HEADER_LIST_H
