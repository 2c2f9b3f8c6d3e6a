#include "tests/support/reference/encoded_words_reference.h"

#include <cstdio>
#include <string_view>

#include "tests/support/reference/base64_reference.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka::reference {
namespace {

constexpr std::size_t kNone = std::string::npos;

bool Blank(char c) {
  return c == ' ' || c == '\t';
}

bool High(char c) {
  return static_cast<unsigned char>(c) > 127;
}

// "b", "q", or empty, for the letter and "?" that a text starts with.
std::string Letter(const std::string& text) {
  const std::string start = text.substr(0, 2);
  if (start == "B?" || start == "b?") {
    return "b";
  }
  return start == "Q?" || start == "q?" ? "q" : "";
}

std::string DecodeWord(const std::string& letter, const std::string& encoded, std::size_t room,
                       const std::string& lineEnd) {
  return letter == "b" ? Base64Decoder().Decode(encoded, room)
                       : QpDecoder(lineEnd).Decode(encoded, room);
}

const Run kMalformed{-1, "", std::nullopt};

// The word that a text is known to start with, as it fills the room; a count of -1 when malformed.
//   rest  receives the text behind it
Run FirstWord(const std::string& text, std::size_t room, const std::string& lineEnd,
              const Convert& convert, std::string& rest) {
  const std::size_t mark = text.find('?', 2);
  const std::string letter = mark == kNone ? "" : Letter(text.substr(mark + 1));
  if (letter.empty()) {
    return kMalformed;
  }
  const std::size_t end = text.find('?', mark + 3);
  if (end == kNone || text.substr(end, 2) != "?=") {
    return kMalformed;
  }
  rest = text.substr(end + 2);
  const std::string charset = text.substr(2, mark - 2).substr(0, 63);
  std::string bytes = DecodeWord(letter, text.substr(mark + 3, end - mark - 3), room, lineEnd);
  if (bytes.empty()) {
    return kMalformed;
  }
  if (bytes.size() == room) {
    bytes.back() = '\0';
  }
  if (convert) {
    const std::optional<std::string> converted = convert(charset, bytes, room);
    if (!converted || converted->empty()) {
      return kMalformed;
    }
    bytes = *converted;
  }
  return {static_cast<int>(bytes.size()), bytes, charset};
}

std::string Escaped(char c) {
  if (c >= 33 && c <= 126 && c != '=' && c != '?' && c != '_') {
    return std::string(1, c);
  }
  char text[4];
  std::snprintf(text, sizeof(text), "=%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

std::size_t WordLength(const std::string& text) {
  if (text.substr(0, 2) != "=?") {
    return 0;
  }
  const std::size_t mark = text.find('?', 2);
  if (mark == kNone || text.substr(0, mark).find_first_of(" \t") != kNone ||
      Letter(text.substr(mark + 1)).empty()) {
    return 0;
  }
  const std::size_t end = text.find('?', mark + 3);
  if (end == kNone) {
    return text.size() + 1;
  }
  return text.substr(end, 2) == "?=" ? end + 2 : end + 1;
}

Run DecodeRun(const std::string& text, std::size_t room, int depth, const std::string& lineEnd,
              const Convert& convert) {
  if (!text.empty() && Blank(text[0])) {
    return DecodeRun(text.substr(1), room, depth, lineEnd, convert);
  }
  if (text.substr(0, 2) != "=?") {
    return {0, room == 0 ? "" : text.substr(0, room - 1), std::nullopt};
  }
  if (depth > 31) {
    return kMalformed;
  }
  if (room == 0) {
    return {};
  }
  std::string rest;
  Run word = FirstWord(text, room, lineEnd, convert, rest);
  if (word.count < 0) {
    return word;
  }
  Run others = DecodeRun(rest, room - word.bytes.size(), depth + 1, lineEnd, convert);
  if (others.count < 0) {
    return others;
  }
  return {word.count + others.count, word.bytes + others.bytes,
          others.charset ? others.charset : word.charset};
}

std::optional<std::string> DecodeText(const std::string& text, std::size_t room,
                                      const std::string& lineEnd, const Convert& convert) {
  std::string out;
  for (std::size_t at = 0; at < text.size() && out.size() < room;) {
    const std::size_t length = WordLength(text.substr(at));
    if (length == 0) {
      out += text[at++];
      continue;
    }
    const Run run = DecodeRun(text.substr(at), room - out.size(), 0, lineEnd, convert);
    if (run.count < 0) {
      return std::nullopt;
    }
    out += run.bytes.substr(0, static_cast<std::size_t>(run.count));
    at += length;
  }
  out = out.substr(0, room == 0 ? 0 : room - 1);
  return out.substr(0, out.find('\0'));
}

EncodedText EncodeText(const std::string& text, const std::string& lineEnd,
                       const Convert& convert) {
  std::string rest = DecodeText(text, 2 * text.size(), lineEnd, convert).value_or(text);
  EncodedText result;
  for (;;) {
    std::size_t start = 0;
    while (start < rest.size() && !High(rest[start])) {
      ++start;
    }
    if (start == rest.size()) {
      return result;
    }
    while (start > 0 && !Blank(rest[start])) {
      --start;
    }
    result.text += start == 0 && !result.text.empty() ? " " : rest.substr(0, start);
    result.text += "=?utf-8?q?";
    rest = rest.substr(start);
    while (!rest.empty() && WordLength(rest) == 0) {
      result.text += Escaped(rest[0]);
      rest = rest.substr(1);
    }
    result.text += "?=";
    if (rest.empty()) {
      result.used = true;
      return result;
    }
    const std::string word = rest.substr(0, WordLength(rest));
    result.text += " " + word;
    rest = rest.substr(word.size());
  }
}

}  // namespace zevka::reference
