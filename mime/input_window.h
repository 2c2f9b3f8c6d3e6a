// A window onto an open file that slides from its start on: what was read and is neither dropped
// nor passed on yet. Of a memory file that lies together nothing is copied.
#ifndef ZEVKA_MIME_INPUT_WINDOW_H
#define ZEVKA_MIME_INPUT_WINDOW_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fileio/open_file.h"

namespace zevka {

class InputWindow {
 public:
  // The file stays the caller's and is not changed meanwhile.
  explicit InputWindow(OpenFile& input);

  // Empties the window and goes on from there; false when the file cannot.
  bool Start(std::int64_t at);

  std::string_view Text() const;

  // Reads up to `bytes` bytes more. False for a read error.
  bool ReadMore(std::size_t bytes);
  // Whether the last ReadMore came short.
  bool Ended() const { return ended_; }
  void ForgetEnd() { ended_ = false; }

  void Drop(std::size_t bytes);
  // Writes the first `bytes` bytes to `out` as one item and drops them. False when that fails.
  bool Flush(OpenFile& out, std::size_t bytes);

 private:
  OpenFile& input_;
  std::string_view whole_;  // the file, where it lies together in memory
  std::string buffer_;      // what was read, where it does not
  std::size_t begin_ = 0;   // of the window in whole_ or buffer_
  std::size_t end_ = 0;
  bool ended_ = false;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_INPUT_WINDOW_H
