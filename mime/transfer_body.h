// Moves a body from where it stands to the part's body files: from the open message to the encoded
// body, while a part is loaded, and from the encoded body to the decoded one on first use.
//
// A quoted-printable body with faults adds two fields to the part: "X-WrongBodyEncoding" and
// "X-NoCharsWrongEncoded", so that whoever shows the message knows. Failures are not reported: the
// body ends where the transfer ended.
//
// Source: RFC 2045 6.
#ifndef ZEVKA_MIME_TRANSFER_BODY_H
#define ZEVKA_MIME_TRANSFER_BODY_H

#include "fileio/open_file.h"
#include "mime/part_state.h"

namespace zevka {

// Copies a body, decodes it, or both.
//   openMessage  what is read, from part.bodyStart on; null: the encoded body file
//   writeRaw     write the encoded body file; with an open message only
//   decode       write the decoded body file
// Result: 1 always.
int TransferBody(PartState& part, OpenFile* openMessage, bool writeRaw, bool decode);

// Makes the decoded body unless it was made before.
void EnsureDecoded(PartState& part);

}  // namespace zevka

#endif  // ZEVKA_MIME_TRANSFER_BODY_H
