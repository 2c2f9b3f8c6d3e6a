// Reads a message, or the text of one part, into a part: its header fields into the header list,
// its body into the encoded body file, and its children, each loaded the same way, one level
// deeper.
//
// The road: MessageParser <- LineReader <- BlockReader <- OpenFile. Lives for the reading of one
// part, on the heap: multiparts nest, and the frame of one level stays small. Embedded messages
// nest as deep as names go, and are read one after the other (LoadPart), never one inside the
// other.
//
// Departs from RFC 5322 where mail on disk does:
//  - a "From " line of an mbox is a field, named up to the first colon of its time;
//  - a line that is no field ends the header block, and is the first line of the body;
//  - the header block of a message without a single field is body.
//
// Threads: takes no lock; the part is being made.
#ifndef ZEVKA_MIME_MESSAGE_PARSER_H
#define ZEVKA_MIME_MESSAGE_PARSER_H

#include <optional>
#include <string>
#include <string_view>

#include "fileio/open_file.h"
#include "mime/block_reader.h"
#include "mime/line_reader.h"
#include "mime/part_state.h"

namespace zevka {

class MIMEPart;

// Reads a message into a part, all that it holds included. False when a file fails or an embedded
// message cannot be loaded: the part is to be reset then.
bool LoadPart(MIMEPart& part, const char* path);

enum class LoadStep {
  kFailed,
  kLoaded,
  kEmbedded,  // but for the message that the encoded body is
};

class MessageParser {
 public:
  // Opens the file; see IsOpen. `part` was reset before.
  MessageParser(PartState& part, const char* path);

  bool IsOpen() const { return static_cast<bool>(input_); }

  // Reads everything but an embedded message. The part is to be reset when that fails.
  LoadStep Load();

 private:
  void ReadHeaderBlock();
  bool RecogniseField(HeaderNode& field);
  bool ReadField();
  void ReadContinuations(HeaderNode& field);
  void StoreField(HeaderNode& field);
  void FixBodyStart();
  bool ExtractBody();

  PartState& part_;
  OpenFile input_;
  BlockReader blocks_;
  LineReader lines_;
  std::string value_;  // of the field that is being read
  LineResult lastResult_ = LineResult::kEnd;
  std::optional<std::int64_t> pushedBackField_;  // where a field stood that turned out to be body
};

}  // namespace zevka

#endif  // ZEVKA_MIME_MESSAGE_PARSER_H
