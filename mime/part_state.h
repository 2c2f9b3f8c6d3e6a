// The data of a part, as a struct of small structs, and the list of its children. What a part does
// stands in the modules that take the piece they need; what a host sees of it stands in mime_part.
//
// Threads: a part's lock guards all of it while the part is shared. Loading, writing and ending a
// part take no lock: one thread has the part then.
#ifndef ZEVKA_MIME_PART_STATE_H
#define ZEVKA_MIME_PART_STATE_H

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "codec/decode_state.h"
#include "fileio/file_views.h"
#include "mime/body_files.h"
#include "mime/boundaries.h"
#include "mime/header_list.h"
#include "mime/header_values.h"
#include "mime/line_end.h"

namespace zevka {

class MIMEPart;

// Ends a part: Destroy, slot 46.
struct PartDeleter {
  void operator()(MIMEPart* part) const;
};
using PartPtr = std::unique_ptr<MIMEPart, PartDeleter>;

struct PartNode {
  PartPtr part;
  std::string fileName;  // a copy of the child's own path
};

// A list, so that cursors of other threads survive insertions.
using PartList = std::list<PartNode>;

// How a body is encoded. The numbers are the ones the field has always had.
enum class TransferEncoding : std::int32_t {
  kUnset = 0,            // before the part is loaded
  kNone = 1,             // none given, or "7bit" set by the host
  kQuotedPrintable = 2,  //
  kBase64 = 3,           //
  kOther = 5,            // any other, "7bit" and "8bit" as read included
};

// What the header fields told about the part.
struct Classification {
  bool hasSubject = false;
  bool hasFileName = false;        // a "filename" gave the display name
  bool isMultipart = false;        // at least one boundary was named
  bool isEmbeddedMessage = false;  // message/rfc822
  bool wrongBodyEncoding = false;
  TransferEncoding encoding = TransferEncoding::kUnset;
};

struct PartState {
  std::int32_t depth = 0;  // 0 for a message; a child has its parent's and 1
  BodyFiles files;
  HeldText origin;  // the text that the part was read from, where it lies in memory
  LineEnd lineEnd;
  HeaderList headers;
  HeaderSizes sizes;
  PartList children;
  Classification kind;
  Signatures signatures;
  BoundarySet boundaries;
  DisplayName name;
  DecodeState decoding;                   // between two chunks of one body
  std::int64_t bodyStart = 0;             // where the body begins in the part's own file, in bytes
  std::optional<std::string> footerText;  // pending until the message is committed
  bool needsDecode = true;                // the decoded body was not made yet
  bool modified = false;
  bool removed = false;
  bool writeThrough = false;  // a commit brings the message to disk
};

// Puts a part back to what it was before loading, its files removed. What its maker gave it stays:
// depth, write-through and the signatures inherited.
void ResetPart(PartState& part);

// Ends the parts and all that they hold, from the outermost inwards, however deep they nest.
void EndParts(PartList parts);

// Removes the part's own file and bodies and, below a multipart, those of all its children.
void RemoveFiles(const PartState& part);

// Marks the first child removed and removes its files; nothing without children.
void DropFirstChild(PartState& part);

// Appends a child and remembers its path.
PartNode& AppendNode(PartList& children, PartPtr child);

}  // namespace zevka

#endif  // ZEVKA_MIME_PART_STATE_H
