// Reads lines out of blocks, and header lines out of lines: empty lines are gathered until it is
// clear whether they end the header block or stand in front of the message.
//
// The line end of a message is established here: it is the run of line-end bytes gathered up to the
// first non-empty line. A header block is over when the line ends gathered since the last non-empty
// line begin with the established one twice. Mixed line ends therefore hide the blank line; that is
// how it is.
//
// Source: RFC 5322 2.1.
#ifndef ZEVKA_MIME_LINE_READER_H
#define ZEVKA_MIME_LINE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "mime/block_reader.h"
#include "mime/line_end.h"

namespace zevka {

enum class LineResult {
  kReadError,  // the line is empty
  kEnd,  // no more input, with an empty line; or the first 4096 characters of a line that is longer
  kLine,      // a line that ended with a line end
  kLastLine,  // the last line of the input, without a line end
};

class LineReader {
 public:
  // Reads from the start of the reader's first block, which must have been taken. What is learnt
  // about line ends goes to `lineEnd`.
  LineReader(BlockReader& blocks, LineEnd& lineEnd);

  LineResult ReadLine();

  // As ReadLine, past the empty lines in front of a header line. When an empty line closes the
  // header block, the line behind it has been read.
  LineResult ReadHeaderLine();

  // Whether the field whose next line was just read is the first body line of a message that begins
  // with two or more blank lines; the established line end is put right then.
  bool CutDoubledLineEnd();

  // The line, until the next one is read.
  std::string_view Line() const { return line_; }
  // Where its line end ends in the input.
  std::int64_t LineBehind() const {
    return blocks_.BlockStart() + static_cast<std::int64_t>(position_);
  }
  // Where the line begins in the input; its end when there is no more input.
  std::int64_t LineStart() const { return lineStart_; }
  bool InHeaderBlock() const { return inHeaderBlock_; }

 private:
  bool ReadNextBlock();
  void Add(std::string_view text);
  LineResult CollectLine();
  LineResult FinishLine();
  void TakeStyle(LineEndStyle style);
  bool PendingIsFull() const;
  bool PendingReachesTwice() const;
  void CloseHeaderBlockIfSeparated();

  BlockReader& blocks_;
  LineEnd& lineEnd_;
  std::size_t position_ = 0;  // in the current block
  std::string_view line_;     // in the block, or in joined_
  std::string joined_;        // a line that began in an earlier block
  std::int64_t lineStart_ = 0;
  std::string pending_;    // line-end bytes since the last non-empty line began to end
  std::string preceding_;  // those between the previous non-empty line and this one
  bool inHeaderBlock_ = true;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_LINE_READER_H
