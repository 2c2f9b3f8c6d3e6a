// Writes a part and its children as text, each part over its own path: the header block with the
// folding it was read with, the body from its body file, encoded anew when asked, then the
// children, whose files are appended and removed. It uses the body files up; the part is good for
// nothing but its end afterwards.
//
// Every line that is made here ends with the part's established line end. The text behind a
// multipart's closing delimiter was not kept and is not written; an empty line stands there
// instead.
//
// Sources: RFC 5322 2.2 and 2.3, RFC 2046 5.1.1, RFC 2183 2.3.
//
// Threads: takes no lock; no other thread uses the part.
#ifndef ZEVKA_MIME_MESSAGE_WRITER_H
#define ZEVKA_MIME_MESSAGE_WRITER_H

#include <string>
#include <string_view>

#include "fileio/open_file.h"
#include "mime/part_state.h"

namespace zevka {

struct WriteRequest {
  bool reencode = false;           // a base64 or quoted-printable body comes from the decoded file
  std::string_view subjectSuffix;  // appended to every Subject
  const char* passThrough = nullptr;  // for the children; not looked at
  std::string_view attachmentName;    // empty: none
};

// Writes a part, all that it holds included. False when a file fails, with a part of the text in
// the part's own file. Embedded messages nest as deep as names go; they are written one after the
// other.
bool WritePart(PartState& part, const WriteRequest& request);

class MessageWriter {
 public:
  MessageWriter(PartState& part, const WriteRequest& request);

  // Writes everything but the text of embedded messages; false when a file fails.
  bool Begin();
  // The next embedded message, which is to be written now; null when there is none.
  const PartNode* NextEmbedded();
  // Takes in the text of one that was written; false when a file fails.
  bool AppendEmbedded(const PartNode& child);
  // To be called at last; false when a file fails.
  bool End();

 private:
  bool WriteHeaderBlock();
  bool IsUnchanged(const HeaderNode& field) const;
  bool CopyUnchangedFields(HeaderList::const_iterator& field);
  bool WriteField(const HeaderNode& field);
  bool RewriteDisposition(const HeaderNode& field);
  bool WriteNewDisposition();
  void AddValueText(std::string_view name, std::string_view value, const HeaderNode& field);
  std::string EncodeAndFold(std::string_view name, std::string_view value);
  bool WriteBody();
  bool EncodeBody();
  bool CopyBody();
  bool WriteChildren();
  bool WriteChild(const PartNode& child);
  bool AppendText(OpenFile& text, std::size_t step, bool& copied);
  bool AppendChildText(OpenFile& text);
  bool WriteLine(std::string_view first, std::string_view second = {}, std::string_view third = {});
  bool WritePending();

  PartState& part_;
  WriteRequest request_;
  OpenFile output_;
  std::string pending_;  // lines on their way to the file
  std::string line_;     // the field that is being made
  PartList::const_iterator nextEmbedded_;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_MESSAGE_WRITER_H
