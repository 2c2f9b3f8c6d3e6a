// Walks the value of a structured field: words, quoted strings, and comments, which are skipped.
// Quotes and comments that are never closed count as plain characters, so that they hide nothing.
// Linear in the value, also when it is hostile.
//
// Threads: none of its own. Nothing throws but for want of memory.
//
// Sources: RFC 5322 3.2 (comments, quoted strings), RFC 2045 5.1 (words of parameters).
#ifndef ZEVKA_HOST_SAFE_EDIT_VALUE_SCANNER_H
#define ZEVKA_HOST_SAFE_EDIT_VALUE_SCANNER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

class ValueScanner {
 public:
  explicit ValueScanner(std::string_view value) : value_(value) {}

  bool AtEnd() const { return position_ >= value_.size(); }
  char Peek() const { return value_[position_]; }  // not at the end
  bool Take(char c);
  void SkipOne() { ++position_; }
  std::size_t Position() const { return position_; }
  void Return(std::size_t position) { position_ = position; }

  // Line ends count as blanks.
  void SkipBlanks();
  void SkipBlanksAndComments();

  // Characters up to a blank, a comment, a quote or one of `stops`; may be empty.
  std::string_view TakeWord(std::string_view stops);

  // A quoted string, here, with its quoted characters resolved and line ends taken out; nothing
  // when there is none.
  std::optional<std::string> TakeQuoted();

 private:
  bool SkipComment();

  std::string_view value_;
  std::size_t position_ = 0;
  bool openQuote_ = false;  // one was met that is never closed; so is each behind it
  bool openComment_ = false;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_VALUE_SCANNER_H
