// A second reader of Internet mail, apart from the library's: it finds fields, parts and bodies by
// the standards' own rules and changes nothing. The guard asks it what a message holds before the
// library is let at it, and the verifier compares the outlines of a message before and after a
// change; what the library misreads is therefore not misread twice in the same way.
//
// Every place in the outline is a stretch of the text that was read, so that nothing is copied and
// every byte is accounted for. Bytes of any value are read; nothing is refused, but for the limits.
// CR LF, LF and CR alone each end a line. Time is linear in the text, nesting is kept off the
// stack.
//
// What it leaves to others: the meaning of signatures (guard.h), comparing (verify.h).
//
// Threads: an outline is plain data. Nothing throws but for want of memory.
//
// Sources: RFC 5322 2.1 and 2.2 (fields), RFC 2045 5 and 6 (types, encodings), RFC 2046 5.1 and 5.2
// (multiparts, digests, embedded messages), RFC 2231 3 and 4 (parameters).
#ifndef ZEVKA_HOST_SAFE_EDIT_OUTLINE_H
#define ZEVKA_HOST_SAFE_EDIT_OUTLINE_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

// One header field.
struct OutlineField {
  std::string_view whole;  // from the name to the end of its last line, line end included
  std::string_view name;   // without blanks in front of the colon
  std::string_view
      value;  // behind the colon, continuation lines and all, without the last line end
};

// The value in one line: line ends are taken out, and blanks at both ends (RFC 5322 2.2.3).
std::string Unfolded(std::string_view value);

// The shape of a part.
enum class OutlineKind {
  kLeaf,
  kMultipart,  // has at least one delimiter line that begins a part
  kEmbedded,   // a message inside a part (message/rfc822, message/global), if it is not empty; its
               // one child is that message
};

struct OutlinePart {
  std::string
      number;  // as in "2.1", see below; empty for the message itself when it is a multipart
  OutlineKind kind = OutlineKind::kLeaf;

  std::string_view whole;   // header block and body
  std::string_view header;  // the fields and the empty line behind them
  std::string_view
      body;  // everything behind; for a child without the line end in front of the delimiter
  std::vector<OutlineField> fields;
  std::string_view brokenLines;  // the first line in the header block that is no field, with its
                                 // line end; mostly empty

  std::string mediaType;  // "text/plain" in lower case; the standard's default when there is none
  std::string encoding;   // transfer encoding in lower case; "7bit" when there is none

  // Of a multipart. The boundary is also there when no delimiter line was found.
  std::string boundary;       // unquoted, without blanks at its end
  std::string_view preamble;  // in front of the first delimiter line and of the line end before it
  std::string_view
      epilogue;  // behind the line of the closing delimiter, line end of that line excluded
  bool isClosed = false;  // the closing delimiter is there

  // Of an embedded message that is transfer-encoded in base64 or quoted-printable (against the
  // standard, and met): the decoded text that `children` point into. Moving the part keeps it.
  std::shared_ptr<const std::string> decodedText;

  std::vector<OutlinePart> children;
};

// The first field of that name; null when there is none.
//   lowerName  in lower case
const OutlineField* FindField(const OutlinePart& part, std::string_view lowerName);

// A parameter of the part's first Content-Type or Content-Disposition field, unquoted, with RFC
// 2231 pieces joined and percent signs resolved; nothing when there is none.
//   lowerField, lowerName  in lower case
std::optional<std::string> FindParameter(const OutlinePart& part, std::string_view lowerField,
                                         std::string_view lowerName);

// All parameters of a field's value, in order, names in lower case, pieces as they stand
// ("name*0"). Missing semicolons, blanks in a value without quotes, comments and quotes that are
// never closed do not hide what stands behind them.
struct OutlineParameter {
  std::string name;
  std::string value;
};
std::vector<OutlineParameter> Parameters(std::string_view value);
// As FindParameter, among the parameters of one value. A plain parameter goes before its RFC 2231
// spelling, and the first of several before the others.
std::optional<std::string> JoinedParameter(const std::vector<OutlineParameter>& parameters,
                                           std::string_view lowerName);
// The media type at the head of a value, in lower case; empty when there is none.
std::string MediaTypeOf(std::string_view value);

// The body with its transfer encoding taken off: base64 and quoted-printable are decoded, anything
// else is as it is. Faults are passed over: characters that base64 does not know are skipped, and a
// "=" that begins nothing known stands for itself (RFC 2045 6.7 and 6.8).
std::string DecodedBody(const OutlinePart& leaf);

// How a reading ended early, if it did.
enum class OutlineLimit { kNone, kParts, kDepth };

struct OutlineLimits {
  // Parts of all kinds, embedded ones included, the message itself counted.
  std::size_t mostParts = 10000;
  // Levels of multiparts and embedded messages around a part. The time of destructors and the
  // length of numbers grow with it.
  std::size_t mostDepth = 100;
  // Levels of transfer-encoded messages around a part; each takes memory for its decoded text.
  std::size_t mostDecodings = 4;
};

// Readers differ over faulty messages. Both ways end at the same outline for a message without
// such faults.
enum class OutlineWay {
  // A line that is no field ends the header block and begins the body, but for the "From " line of
  // an mbox in front of all fields; an empty line at the head of a message is an empty header
  // block; the first of several Content-Type fields or boundaries counts; an embedded message is
  // decoded when it is encoded.
  kUsual,
  // A line that is no field is passed over, and so are empty lines at the head of a message; the
  // last of several counts; an embedded message is read as it stands.
  kOther,
};

// The outline of a message. A delimiter line is "--", the boundary, for the closing one "--", and
// nothing but blanks and tabs; one of an outer multipart also ends the parts within. A closing one
// in front of all parts delimits nothing, and one of a multipart that is closed neither. Numbers
// are those of mail protocols (RFC 9051 6.4.5): the children of a multipart message are 1, 2 ...; a
// message with a single body has it as 1; children of part 2 are 2.1, 2.2 ...; a message embedded
// as part 2 counts its parts 2.1, 2.2 ... in the same way.
class Outline {
 public:
  // Reads a message.
  //   text  must outlive the outline; no temporary
  static Outline Read(std::string_view text, const OutlineLimits& limits = {},
                      OutlineWay way = OutlineWay::kUsual);

  const OutlinePart& Message() const { return message_; }
  // Not kNone: reading stopped, and the tree is only what was read until then.
  OutlineLimit Exceeded() const { return exceeded_; }
  // Every part in the order of the text, each before its children; the pointers live as long as the
  // outline.
  std::vector<const OutlinePart*> AllParts() const;
  // The first part of that number: an embedded message that is a multipart has the number of the
  // part that holds it. The message itself for an empty number; null when there is none.
  const OutlinePart* Find(std::string_view number) const;

 private:
  OutlinePart message_;
  OutlineLimit exceeded_ = OutlineLimit::kNone;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_OUTLINE_H
