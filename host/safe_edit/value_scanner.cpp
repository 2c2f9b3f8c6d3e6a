#include "host/safe_edit/value_scanner.h"

namespace zevka::host {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Faster than searching by the library for so few characters.
bool IsOneOf(char c, std::string_view few) {
  for (const char one : few) {
    if (c == one) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool ValueScanner::Take(char c) {
  if (AtEnd() || Peek() != c) {
    return false;
  }
  ++position_;
  return true;
}

void ValueScanner::SkipBlanks() {
  while (!AtEnd() && IsBlank(Peek())) {
    ++position_;
  }
}

void ValueScanner::SkipBlanksAndComments() {
  do {
    SkipBlanks();
  } while (SkipComment());
}

bool ValueScanner::SkipComment() {
  if (AtEnd() || Peek() != '(' || openComment_) {
    return false;
  }
  std::size_t depth = 0;
  for (std::size_t i = position_; i < value_.size(); ++i) {
    const char c = value_[i];
    if (c == '\\') {
      ++i;
    } else if (c == '(') {
      ++depth;
    } else if (c == ')' && --depth == 0) {
      position_ = i + 1;
      return true;
    }
  }
  openComment_ = true;
  return false;
}

std::string_view ValueScanner::TakeWord(std::string_view stops) {
  const std::size_t begin = position_;
  while (!AtEnd()) {
    const char c = Peek();
    if (IsBlank(c) || c == '"' || (c == '(' && !openComment_) || IsOneOf(c, stops)) {
      break;
    }
    ++position_;
  }
  return value_.substr(begin, position_ - begin);
}

std::optional<std::string> ValueScanner::TakeQuoted() {
  if (AtEnd() || Peek() != '"' || openQuote_) {
    return std::nullopt;
  }
  std::string result;
  for (std::size_t i = position_ + 1; i < value_.size(); ++i) {
    const char c = value_[i];
    if (c == '"') {
      position_ = i + 1;
      return result;
    }
    if (c == '\\' && i + 1 < value_.size()) {
      result.push_back(value_[++i]);
    } else if (c != '\r' && c != '\n') {
      result.push_back(c);
    }
  }
  openQuote_ = true;
  return std::nullopt;
}

}  // namespace zevka::host
