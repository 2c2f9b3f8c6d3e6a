// Reads an open message through its slots: fields, children, bodies, names, and what kind of thing
// a part is. It knows the traps of <zevka/part.h> (sizes that are padded to, the line-end question,
// names in foreign charsets, embedded messages that are no children) so that its callers need not.
//
// Nothing here changes a message, but for one thing: the first look at a faulty quoted-printable
// body adds two marker fields to its part. A message that will be written is better read through a
// second message made of the same bytes.
//
// Sources: RFC 5322 2.2 and 3.2.2 (fields, comments), RFC 2045 5 and 6 (types, encodings), RFC 1847
// and RFC 8551 (signed messages).
#ifndef ZEVKA_HOST_KIT_PART_READING_H
#define ZEVKA_HOST_KIT_PART_READING_H

#include <zevka/part.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/loader.h"

namespace zevka::host {

// One header field, as the message has it; the value begins with the blank behind the colon and has
// its lines joined.
struct Field {
  std::string name;
  std::string value;
};

// All fields in their order.
std::vector<Field> Fields(PartObject& part);
// The value of the first field of that name, trimmed; nothing when there is none.
//   lowerName  in lower case
std::optional<std::string> FieldValue(const std::vector<Field>& fields, std::string_view lowerName);

// The media type in lower case, "text/plain" when the fields give none.
std::string MediaType(const std::vector<Field>& fields);
// The transfer encoding in lower case, "7bit" when the fields give none.
std::string EncodingName(const std::vector<Field>& fields);

// The children that are not removed; empty for a part that is no multipart.
std::vector<PartObject*> Children(PartObject& part);
// The decoded body.
std::string DecodedBody(PartObject& part);
std::uint64_t DecodedSizeBytes(PartObject& part);
// The part's name in UTF-8; bytes that are no text stay as they are. Empty when it has none.
std::string DisplayName(PartObject& part);
// "CR LF", "CR" or "LF": how the first line of the message ends.
std::string LineEndName(PartObject& message);
// The text of an embedded message; nothing for any other part.
std::optional<std::string> EmbeddedText(Packer& packer, PartObject& part);

// Why a message counts as signed: "DKIM", "DomainKey", "S/MIME", "OpenPGP", joined by ", "; empty
// for a message that does not. Wider than the library's own answer: a multipart/signed of any
// protocol and both spellings of the S/MIME types count.
std::string SignatureKinds(Packer& packer, PartObject& message);

// A part that holds no further parts of the same message, an embedded message among them.
struct Leaf {
  std::string number;  // place in the message, from 1 on, as in "2.1"
  std::string mediaType;
  std::string name;  // may be empty
  std::string body;  // decoded; the text of an embedded message
  bool isEmbedded = false;
};
// Every leaf of the message, in its order.
std::vector<Leaf> Leaves(Packer& packer, PartObject& message);
// The number of a child, from its parent's (empty for the message itself) and its place from 0 on.
std::string ChildNumber(const std::string& parent, std::size_t index);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_PART_READING_H
