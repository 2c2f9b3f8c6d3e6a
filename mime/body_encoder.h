// Encodes a decoded body into the message being written, as base64 or quoted-printable.
//
// Lines inside the body end by the style of the message's first line end; the line end behind the
// body is the established one.
//
// Source: RFC 2045 6.7 and 6.8. Base64 lines are 72 characters long.
#ifndef ZEVKA_MIME_BODY_ENCODER_H
#define ZEVKA_MIME_BODY_ENCODER_H

#include "fileio/open_file.h"
#include "mime/line_end.h"

namespace zevka {

// Writes the rest of `decoded` as base64 and one line end. False when a file fails.
bool EncodeBase64Body(OpenFile& output, OpenFile& decoded, const LineEnd& lineEnd);

// Writes the rest of `decoded` as quoted-printable; the established line end is a hard line break,
// any other line-end byte is data. A body that does not end with a line break gets one. 0, or -1
// when a file fails.
int EncodeQuotedPrintableBody(OpenFile& output, OpenFile& decoded, const LineEnd& lineEnd);

}  // namespace zevka

#endif  // ZEVKA_MIME_BODY_ENCODER_H
