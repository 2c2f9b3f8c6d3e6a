// Reads a message, or the text of one part, into a part: its header fields into the header list,
// its body into the encoded body file, and its children, each loaded the same way, one level
// deeper.
//
// The road: MessageParser <- LineReader <- BlockReader <- OpenFile. Lives for one load, on the
// heap: messages nest, and the frame of one level stays small.
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

class MessageParser {
 public:
  // Opens the file; see IsOpen. `part` was reset before.
  MessageParser(PartState& part, const char* path);

  bool IsOpen() const { return static_cast<bool>(input_); }

  // Reads everything. False when a file fails or an embedded message cannot be loaded; the part is
  // to be reset then.
  bool Load();

 private:
  struct Field {
    std::string name;
    std::string value;
    std::vector<SegmentNode> segments;
  };

  void ReadHeaderBlock();
  std::optional<Field> RecogniseField() const;
  bool ReadField();
  void ReadContinuations(Field& field);
  void StoreField(Field field);
  void FixBodyStart();
  bool ExtractBody();
  bool LoadEmbeddedMessage();
  void CopySource();

  PartState& part_;
  OpenFile input_;
  BlockReader blocks_;
  LineReader lines_;
  LineResult lastResult_ = LineResult::kEnd;
  std::optional<std::int64_t> pushedBackField_;  // where a field stood that turned out to be body
};

}  // namespace zevka

#endif  // ZEVKA_MIME_MESSAGE_PARSER_H
