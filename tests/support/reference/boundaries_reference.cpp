#include "tests/support/reference/boundaries_reference.h"

#include <algorithm>

#include "tests/support/reference/header_values_reference.h"

namespace zevka::reference {
namespace {

constexpr std::size_t kNone = std::string::npos;

bool MayFollow(const std::string& text, std::size_t at) {
  return at < text.size() && std::string("\n\r-").find(text[at]) != kNone;
}

// A text without the blanks and comments that it begins with; a comment may never end.
std::string Uncommented(std::string text) {
  int depth = 0;
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (depth == 0 && c != ' ' && c != '\t' && c != '(') {
      break;
    }
    depth += c == '(' ? 1 : 0;
    depth -= c == ')' ? 1 : 0;
  }
  return text.substr(at);
}

// Takes the characters in front that belong to a set off a text.
std::string TakeAnyOf(const std::string& characters, std::string& text) {
  std::string taken = text.substr(0, text.find_first_not_of(characters));
  text = text.substr(taken.size());
  return taken;
}

// Takes a quoted or plain value off a text.
std::string TakeValue(std::string& text) {
  const bool quoted = text.substr(0, 1) == "\"";
  text = text.substr(quoted ? 1 : 0);
  std::string value = text.substr(0, text.find_first_of(quoted ? "\"" : "; \t"));
  text = text.substr(std::min(text.size(), value.size() + (quoted ? 1 : 0)));
  return value;
}

std::string WithoutLanguage(const std::string& value) {
  const std::size_t first = value.find('\'');
  const std::size_t second = first == kNone ? kNone : value.find('\'', first + 1);
  return second == kNone ? value : value.substr(second + 1);
}

void Add(std::string value, Texts& delimiters) {
  while (!value.empty() && (value.back() == ' ' || value.back() == '\t')) {
    value.pop_back();
  }
  const std::string delimiter = "--" + value;
  if (!value.empty() &&
      std::find(delimiters.begin(), delimiters.end(), delimiter) == delimiters.end()) {
    delimiters.push_back(delimiter);
  }
}

// Behind a delimiter: white space up to a line end of the message, that included.
std::size_t BehindBlanks(const std::string& body, std::size_t at, const std::string& lineEnd) {
  std::string skipped;
  while (at < body.size() && std::string("\t\n\v\f\r ").find(body[at]) != kNone) {
    skipped += body[at++];
    if (!lineEnd.empty() && skipped.ends_with(lineEnd)) {
      break;
    }
  }
  return at;
}

}  // namespace

void Collect(const std::string& value, Texts& delimiters) {
  std::string rest = value;
  std::string sections;
  for (;;) {
    const std::size_t word = Lower(rest).find("boundary");
    if (word == kNone) {
      Add(sections, delimiters);
      return;
    }
    rest = rest.substr(word + 8);
    std::string next = rest;
    const bool star = next.substr(0, 1) == "*";
    next = next.substr(star ? 1 : 0);
    const bool numbered = star && !TakeAnyOf("0123456789", next).empty();
    bool extended = star && !numbered;
    if (numbered && next.substr(0, 1) == "*") {
      extended = true;
      next = next.substr(1);
    }
    next = Uncommented(next);
    if (next.substr(0, 1) != "=") {
      continue;
    }
    next = Uncommented(next.substr(1));
    const std::string read = TakeValue(next);
    const std::string text = extended ? WithoutLanguage(read) : read;
    rest = next;
    if (numbered) {
      sections += text;
      continue;
    }
    Add(sections, delimiters);
    sections.clear();
    Add(text, delimiters);
  }
}

Choice Choose(const Texts& delimiters, const std::string& block) {
  for (const std::string& delimiter : delimiters) {
    if (block.find(delimiter) != kNone) {
      return {delimiter, block.find(delimiter)};
    }
  }
  return {};
}

std::size_t FindNext(const std::string& delimiter, const std::string& block, std::size_t from) {
  std::size_t at = block.find(delimiter, from);
  while (at != kNone && !MayFollow(block, at + delimiter.size())) {
    at = block.find(delimiter, at + delimiter.size());
  }
  return at;
}

SplitBody SplitWhole(const std::string& body, const std::string& delimiter,
                     const std::string& lineEnd) {
  const std::size_t first = body.find(delimiter);
  SplitBody split{body.substr(0, first), {}, false};
  for (std::size_t at = first; !split.closed;) {
    const std::size_t begin = BehindBlanks(body, at + delimiter.size(), lineEnd);
    const std::size_t end = FindNext(delimiter, body, begin);
    if (end == kNone || end + delimiter.size() + 2 > body.size()) {
      split.children.push_back(body.substr(begin));
      break;
    }
    split.children.push_back(body.substr(begin, end - begin));
    split.closed = body.substr(end, delimiter.size() + 2) == delimiter + "--";
    at = end;
  }
  return split;
}

bool HidesItself(const std::string& delimiter) {
  for (std::size_t by = 1; by < delimiter.size(); ++by) {
    if (delimiter.starts_with(delimiter.substr(by)) &&
        !MayFollow(delimiter, delimiter.size() - by)) {
      return true;
    }
  }
  return false;
}

}  // namespace zevka::reference
