#include "tests/support/reference/quoted_printable_reference.h"

#include <cstdio>
#include <vector>

namespace zevka::reference {
namespace {

bool IsHex(char c) {
  return std::string_view("0123456789abcdefABCDEF").find(c) != std::string_view::npos;
}

std::string EncodeByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  if (byte == 9 || (byte >= 32 && byte <= 126 && byte != 61)) {
    return std::string(1, c);
  }
  char text[4];
  std::snprintf(text, sizeof(text), "=%02X", static_cast<unsigned>(byte));
  return text;
}

// One line of a body, without its line break.
std::string EncodeLine(std::string_view line, std::string_view lineEnd) {
  std::vector<std::string> lines(1);
  for (const char c : line) {
    const std::string encoded = EncodeByte(c);
    if (lines.back().size() + encoded.size() > 75) {
      lines.emplace_back();
    }
    lines.back() += encoded;
  }
  std::string& last = lines.back();
  if (!last.empty() && (last.back() == ' ' || last.back() == '\t')) {
    const char digit = last.back() == ' ' ? '2' : '0';
    last.pop_back();
    last += '=';
    last += digit;
    last += digit == '2' ? '0' : '9';
  }
  std::string out;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    out += lines[i];
    if (i + 1 < lines.size()) {
      out += '=';
      out += lineEnd;
    }
  }
  return out;
}

}  // namespace

std::string QpDecoder::Decode(std::string_view input, std::size_t room) {
  std::string out;
  for (const char c : input) {
    Take(c, room, out);
  }
  return out;
}

void QpDecoder::Put(char c, std::size_t room, std::string& out) {
  if (out.size() < room) {
    out += c;
    return;
  }
  faults += 1;
  open_ = false;
}

void QpDecoder::Take(char c, std::size_t room, std::string& out) {
  if (escape_.empty()) {
    if (c == '=') {
      escape_ += c;
      open_ = false;
    } else if (open_ && c == '\n') {
      open_ = false;
    } else {
      Put(c, room, out);
    }
    return;
  }
  const std::string escape = escape_ + c;
  escape_.clear();
  if (escape.size() == 2 && IsHex(c)) {
    escape_ = escape;
  } else if (escape.size() == 3 && IsHex(c)) {
    Put(static_cast<char>(std::stoi(escape.substr(1), nullptr, 16)), room, out);
  } else if (escape.size() == 2 && lineEnd_ == "\r\n" && (c == '\r' || c == '\n')) {
    open_ = true;
  } else if (escape.substr(1) != lineEnd_) {
    faults += 1;
  }
}

void QpDecoder::EndOfBody() {
  faults += escape_.empty() ? 0U : 1U;
}

int QpDecoder::State() const {
  return escape_.empty() && open_ ? 3 : static_cast<int>(escape_.size());
}

std::string EncodeQp(std::string_view body, std::string_view lineEnd) {
  std::string out;
  while (!body.empty()) {
    const std::size_t end = body.find('\n');
    out += EncodeLine(body.substr(0, end), lineEnd);
    out += lineEnd;
    body.remove_prefix(end == std::string_view::npos ? body.size() : end + 1);
  }
  return out;
}

}  // namespace zevka::reference
