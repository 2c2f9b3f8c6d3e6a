#include "tests/abi/corpus_alignment.h"

#include <algorithm>

namespace zevka::test {
namespace {

// Length of the line end that the text begins with, 0 when it begins with none.
std::size_t LineEndLength(std::string_view text) {
  if (text.starts_with("\r\n")) {
    return 2;
  }
  return text.starts_with('\r') || text.starts_with('\n') ? 1 : 0;
}

}  // namespace

bool Alignment::Run() {
  while (inText_ < text_.size() || inWritten_ < written_.size()) {
    if (!Step()) {
      return false;
    }
  }
  return true;
}

std::string Alignment::Place() const {
  return "byte " + std::to_string(inText_) + " of " + std::to_string(text_.size()) + ", written " +
         std::to_string(inWritten_) + " of " + std::to_string(written_.size());
}

bool Alignment::Step() {
  if (StepAtClosing() || StepAtEmptyClosing()) {
    return true;
  }
  if (inText_ < text_.size() && inWritten_ < written_.size() &&
      text_[inText_] == written_[inWritten_]) {
    ++inText_;
    ++inWritten_;
    return true;
  }
  return StepInText() || StepInWritten();
}

// A closing delimiter is written with an empty line behind it, and the next thing written is the
// next delimiter of a multipart around this one, or nothing.
bool Alignment::StepAtClosing() {
  for (const std::string& boundary : boundaries_) {
    const std::string closing = "--" + boundary + "--";
    if (!WrittenHere().starts_with(closing)) {
      continue;
    }
    const bool closed = TextHere().starts_with(closing);
    inWritten_ += closing.size();
    inWritten_ += LineEndLength(WrittenHere());
    inWritten_ += LineEndLength(WrittenHere());
    if (!closed) {
      rules_.insert("a multipart without a closing delimiter gets one");
      return true;
    }
    const std::string_view next = WrittenHere().substr(0, WrittenHere().find_first_of("\r\n"));
    const std::size_t behind = inText_ + closing.size();
    const std::size_t found =
        std::min(next.empty() ? text_.size() : text_.find(next, behind), text_.size());
    if (found != behind) {
      rules_.insert("what follows a closing delimiter becomes an empty line");
    }
    inText_ = found;
    return true;
  }
  return false;
}

// Behind the preamble of a multipart in which no delimiter was found.
bool Alignment::StepAtEmptyClosing() {
  constexpr std::string_view kClosing = "----";
  const std::string_view written = WrittenHere();
  if (!written.starts_with(kClosing) || LineEndLength(written.substr(kClosing.size())) == 0 ||
      (TextHere().starts_with(kClosing) && LineEndLength(TextHere().substr(4)) != 0)) {
    return false;
  }
  inWritten_ += kClosing.size();
  inWritten_ += LineEndLength(WrittenHere());
  inWritten_ += LineEndLength(WrittenHere());
  rules_.insert("a multipart without a delimiter gains an empty closing delimiter");
  return true;
}

// Only line ends and blanks stand between the place in the text and a delimiter before it.
bool Alignment::BehindDelimiter() const {
  const std::string_view before = text_.substr(0, inText_);
  const std::string_view line = before.substr(0, before.find_last_not_of(" \t\r\n") + 1);
  return std::any_of(boundaries_.begin(), boundaries_.end(),
                     [&](const std::string& boundary) { return line.ends_with("--" + boundary); });
}

// Bytes of the text that are not written, or written otherwise.
bool Alignment::StepInText() {
  const std::string_view text = TextHere();
  const std::size_t textEnd = LineEndLength(text);
  const std::size_t writtenEnd = LineEndLength(WrittenHere());
  if (text.starts_with('\0')) {
    rules_.insert("a field line is cut at a NUL");
    inText_ += std::min(text.find_first_of("\r\n"), text.size());
    return true;
  }
  if (text.empty() || (textEnd == 0 && text[0] != ' ' && text[0] != '\t')) {
    return false;
  }
  if (text_.substr(0, inText_).find_first_not_of("\r\n") == std::string_view::npos) {
    rules_.insert("blank lines before the first field are not written");
    inText_ += textEnd;
    return textEnd != 0;
  }
  if (BehindDelimiter()) {
    rules_.insert(
        "blanks behind a delimiter and a blank line before a part's fields are not written");
    inText_ += 1;
    return true;
  }
  if (textEnd != 0 && writtenEnd != 0) {
    rules_.insert("fields and delimiters are written with one kind of line end");
    inText_ += textEnd;
    inWritten_ += writtenEnd;
    return true;
  }
  return false;
}

// Bytes that the text does not have.
bool Alignment::StepInWritten() {
  const std::size_t writtenEnd = LineEndLength(WrittenHere());
  if (writtenEnd != 0) {
    rules_.insert(inText_ == text_.size()
                      ? "the text ends without a line end or blank line and gets it"
                      : "a blank line behind fields or a line end before a delimiter is put in");
    inWritten_ += writtenEnd;
    return true;
  }
  if (WrittenHere().starts_with(' ') && inWritten_ > 0 && written_[inWritten_ - 1] == ':') {
    rules_.insert("a field with nothing on its first line gets a blank there");
    ++inWritten_;
    return true;
  }
  return false;
}

}  // namespace zevka::test
