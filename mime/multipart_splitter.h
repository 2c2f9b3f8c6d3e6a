// Splits the body of a multipart: the text in front of the first delimiter (the preamble) becomes
// the part's encoded body, the text of each child goes to a file of its own, from which the child
// is loaded. What stands behind the closing delimiter is not kept.
//
// The body is read in blocks and only a delimiter's length is kept between two of them. Known
// limits, all of them relied upon:
//  - The 1001st child and those after it take names that are cut to the length of the first
//    thousand's, so their body files displace each other.
//  - A child that cannot be loaded is left out.
//  - A body without a closing delimiter is split as long as its delimiters stand in a block that is
//    not the last; what the last block adds is one child.
//
// Source: RFC 2046 5.1.
#ifndef ZEVKA_MIME_MULTIPART_SPLITTER_H
#define ZEVKA_MIME_MULTIPART_SPLITTER_H

#include <cstddef>
#include <string>

#include "fileio/open_file.h"
#include "mime/input_window.h"
#include "mime/part_state.h"

namespace zevka {

class MultipartSplitter {
 public:
  // Splits the body that begins at part.bodyStart of `input`. Both stay the caller's.
  MultipartSplitter(PartState& part, OpenFile& input);

  // Writes the preamble to the encoded body file and stops behind the first delimiter. False when a
  // file fails; the encoded body is removed then.
  bool ExtractPreamble();

  // Makes the children. To be called once, after ExtractPreamble found a delimiter. False when a
  // file fails.
  bool SplitChildren();

 private:
  enum class ChildEnd { kMoreFollow, kLast, kFailed };

  bool CopyPreamble(OpenFile& out);
  bool SkipBlanksInBlocks();
  void SkipBlanks();
  std::size_t KeptBytes(std::size_t delimiterAt) const;
  ChildEnd SplitChild();
  ChildEnd WriteChild(OpenFile& out);
  ChildEnd FlushAll(OpenFile& out);
  ChildEnd EndChild(OpenFile& out, std::size_t delimiterAt);
  std::string ChildName() const;
  void LoadChild(const std::string& name);

  PartState& part_;
  InputWindow window_;          // input that is neither written nor skipped yet
  std::size_t windowRoom_ = 0;  // bytes that the window is filled up to
  bool skipping_ = false;       // the blanks behind a delimiter are being skipped
  std::string skipped_;         // the last of them, as many as the established line end has bytes
  int nextChild_ = 0;
};

// Makes a part one level below `parent` that is signed when the parent is.
PartPtr MakeChildPart(const PartState& parent);

}  // namespace zevka

#endif  // ZEVKA_MIME_MULTIPART_SPLITTER_H
