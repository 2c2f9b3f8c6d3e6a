// Walks the lines of a text. CR LF, LF and CR alone each end a line, also mixed; the last line may
// lack its line end. Linear in the text, whatever its line ends are.
//
// Threads: none of its own. Nothing throws.
//
// Source: RFC 5322 2.1.
#ifndef ZEVKA_HOST_SAFE_EDIT_LINES_H
#define ZEVKA_HOST_SAFE_EDIT_LINES_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zevka::host {

// Offsets in the text.
struct Line {
  std::size_t begin = 0;
  std::size_t end = 0;   // of what the line says, without its line end
  std::size_t next = 0;  // begin of the next line
};

class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}

  // The next line; false when there is none.
  bool Next(Line* line) {
    if (position_ >= text_.size()) {
      return false;
    }
    line->begin = position_;
    line->end = std::min(NextOf('\n', &nextLf_), NextOf('\r', &nextCr_));
    line->next = line->end;
    if (line->next < text_.size()) {
      const bool isCrLf = text_.substr(line->next, 2) == "\r\n";
      line->next += isCrLf ? 2 : 1;
    }
    position_ = line->next;
    return true;
  }

 private:
  // The first such character from here on, or the end. What was found stays known until it is
  // passed, so that the text is searched once for each kind.
  std::size_t NextOf(char c, std::size_t* known) const {
    if (*known == kUnknown || *known < position_) {
      *known = std::min(text_.find(c, position_), text_.size());
    }
    return *known;
  }

  static constexpr std::size_t kUnknown = std::string_view::npos;

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t nextLf_ = kUnknown;
  std::size_t nextCr_ = kUnknown;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_LINES_H
