// Texts of messages for the tests: put together, given other line ends, and an open message written
// down as text so that two of them can be compared.
#ifndef ZEVKA_TESTS_ABI_MAIL_TEXT_H
#define ZEVKA_TESTS_ABI_MAIL_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/abi/message.h"

namespace zevka::test {

using Fields = std::vector<std::pair<std::string, std::string>>;

// Text with NULs in it, from a literal.
template <std::size_t N>
std::string Bytes(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

inline std::string Times(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

inline std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The same text with every CR LF as another line end.
inline std::string WithLineEnds(std::string_view text, std::string_view end) {
  return ReplaceAll(std::string(text), "\r\n", end);
}

inline const std::vector<std::string>& LineEnds() {
  static const std::vector<std::string> ends = {"\r\n", "\n", "\r"};
  return ends;
}

inline std::string Shown(std::string_view bytes) {
  static const char* const digits = "0123456789ABCDEF";
  std::string shown;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (byte == '\r') {
      shown += "\\r";
    } else if (byte == '\n') {
      shown += "\\n";
    } else if (byte == '\t') {
      shown += "\\t";
    } else if (byte == '\\') {
      shown += "\\\\";
    } else if (value < 32 || value > 126) {
      shown += "\\x";
      shown += digits[value >> 4];
      shown += digits[value & 15];
    } else {
      shown += byte;
    }
  }
  return shown;
}

inline std::string Name(PartObject* part) {
  std::string buffer(8192, '\0');
  part->GetName(buffer.data());
  return buffer.c_str();
}

// The text of an embedded message as the library keeps it, or "(none)".
inline std::string SourceText(const Host& host, PartObject* part) {
  const std::string copy = Host::FileName(part) + "_e.rfc822";
  return Exists(host, copy) ? ReadFile(host, copy) : "(none)";
}

// Fields (but those whose names begin with X-Pad), name, body and children, all the way down.
inline std::string Description(const Host& host, PartObject* part, int depth = 0) {
  const std::string indent(static_cast<std::size_t>(depth) * 2, ' ');
  std::string text = indent + "part \"" + Shown(Name(part)) + "\"\n";
  for (const auto& [name, value] : Host::Headers(part)) {
    if (name.rfind("X-Pad", 0) != 0) {
      text += indent + "| " + Shown(name) + ":" + Shown(value) + "\n";
    }
  }
  text += indent + "> " + Shown(Host::Encoded(part)) + "\n";
  const std::string source = SourceText(host, part);
  if (source != "(none)") {
    text += indent + "@ " + Shown(source) + "\n";
  }
  for (PartObject* child : Host::Children(part)) {
    text += Description(host, child, depth + 1);
  }
  return text;
}

// Header lines of exactly this many bytes in all, line ends included; nothing for 0. At least 10
// bytes otherwise; each line stays far below the longest that a field may have.
inline std::string PadFields(std::size_t sizeBytes, std::string_view end) {
  constexpr std::size_t kLineBytes = 1000;
  std::string fields;
  while (sizeBytes > 0) {
    const std::size_t line = sizeBytes >= 2 * kLineBytes || sizeBytes == kLineBytes ? kLineBytes
                             : sizeBytes > kLineBytes                               ? sizeBytes / 2
                                                                                    : sizeBytes;
    fields += "X-Pad: " + std::string(line - 7 - end.size(), 'p') + std::string(end);
    sizeBytes -= line;
  }
  return fields;
}

// Opens the bytes, looks, and discards.
template <typename Look>
auto Opened(const Host& host, std::string_view bytes, Look look) {
  Message message(host, bytes);
  return look(message.get());
}

inline std::string BodyOf(const Host& host, std::string_view bytes) {
  return Opened(host, bytes, [](PartObject* part) { return Host::Encoded(part); });
}

inline std::string DecodedOf(const Host& host, std::string_view bytes) {
  return Opened(host, bytes, [](PartObject* part) { return Host::Decoded(part); });
}

inline Fields FieldsOf(const Host& host, std::string_view bytes) {
  return Opened(host, bytes, [](PartObject* part) { return Host::Headers(part); });
}

inline std::string NameOf(const Host& host, std::string_view bytes) {
  return Opened(host, bytes, [](PartObject* part) { return Name(part); });
}

inline std::vector<std::string> ChildBodies(const Host& host, std::string_view bytes) {
  return Opened(host, bytes, [](PartObject* part) {
    std::vector<std::string> bodies;
    for (PartObject* child : Host::Children(part)) {
      bodies.push_back(Host::Encoded(child));
    }
    return bodies;
  });
}

// Opens, lets the test change the message, commits, and gives the bytes.
template <typename Change>
std::string Changed(const Host& host, std::string_view bytes, Change change) {
  Message message(host, bytes);
  change(message.get());
  return message.Committed();
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_MAIL_TEXT_H
