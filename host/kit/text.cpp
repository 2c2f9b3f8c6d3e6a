#include "host/kit/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zevka::host {

namespace {

constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr std::size_t kNameBytes = 120;
constexpr std::size_t kSuffixBytes = 16;

// The lead byte of a character of several bytes, and the smallest value that needs that many.
struct Shape {
  std::uint8_t mask;
  std::uint8_t lead;
  std::size_t lengthBytes;
  char32_t smallest;
};
constexpr std::array<Shape, 3> kShapes = {{
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
}};

std::uint8_t ByteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

bool IsSurrogate(char32_t value) {
  return value >= 0xD800 && value <= 0xDFFF;
}

bool IsControl(char32_t value) {
  return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

// Marks, embeddings, overrides and isolates, and the two separators that end a line.
bool TurnsTheLine(char32_t value) {
  return value == 0x061C || value == 0x200E || value == 0x200F ||
         (value >= 0x2028 && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
}

void AppendUtf8(char32_t value, std::string* text) {
  const auto append = [text](char32_t byte) { text->push_back(static_cast<char>(byte)); };
  if (value < 0x80) {
    append(value);
  } else if (value < 0x800) {
    append(0xC0 | (value >> 6));
    append(0x80 | (value & 0x3F));
  } else if (value < 0x10000) {
    append(0xE0 | (value >> 12));
    append(0x80 | ((value >> 6) & 0x3F));
    append(0x80 | (value & 0x3F));
  } else {
    append(0xF0 | (value >> 18));
    append(0x80 | ((value >> 12) & 0x3F));
    append(0x80 | ((value >> 6) & 0x3F));
    append(0x80 | (value & 0x3F));
  }
}

// Cuts to a number of bytes, but not inside a character.
std::string_view CutUtf8(std::string_view text, std::size_t maximumBytes) {
  if (text.size() <= maximumBytes) {
    return text;
  }
  std::size_t end = maximumBytes;
  while (end > 0 && (ByteAt(text, end) & 0xC0) == 0x80) {
    --end;
  }
  return text.substr(0, end);
}

std::string_view StripEnds(std::string_view text, std::string_view characters) {
  const std::size_t first = text.find_first_not_of(characters);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

std::string Hex(char32_t value, int digits) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (; digits > 0 || value != 0; --digits) {
    text.insert(text.begin(), kDigits[value & 0xF]);
    value >>= 4;
  }
  return text;
}

}  // namespace

std::string Lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
  });
  return result;
}

std::string_view Trim(std::string_view text) {
  return StripEnds(text, " \t\r\n");
}

CodePoint FirstCodePoint(std::string_view text) {
  if (text.empty()) {
    return {};
  }
  const std::uint8_t lead = ByteAt(text, 0);
  if (lead < 0x80) {
    return {lead, 1};
  }
  const auto* const shape = std::find_if(
      kShapes.begin(), kShapes.end(),
      [lead](const Shape& candidate) { return (lead & candidate.mask) == candidate.lead; });
  if (shape == kShapes.end() || text.size() < shape->lengthBytes) {
    return {};
  }
  const std::size_t length = shape->lengthBytes;
  char32_t value = lead & static_cast<std::uint8_t>(~shape->mask);
  for (std::size_t index = 1; index < length; ++index) {
    if ((ByteAt(text, index) & 0xC0) != 0x80) {
      return {};
    }
    value = (value << 6) | (ByteAt(text, index) & 0x3F);
  }
  if (value < shape->smallest || value > kLastCodePoint || IsSurrogate(value)) {
    return {};
  }
  return {value, length};
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const CodePoint point = FirstCodePoint(text);
    if (point.lengthBytes == 0) {
      return false;
    }
    text.remove_prefix(point.lengthBytes);
  }
  return true;
}

bool FromWide(std::wstring_view wide, std::string* utf8) {
  utf8->clear();
  for (const wchar_t character : wide) {
    const auto value = static_cast<char32_t>(character);
    if (value > kLastCodePoint || IsSurrogate(value)) {
      utf8->clear();
      return false;
    }
    AppendUtf8(value, utf8);
  }
  return true;
}

std::string Printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const CodePoint point = FirstCodePoint(text);
    const std::size_t length = std::max<std::size_t>(point.lengthBytes, 1);
    if (point.lengthBytes == 0 || point.value < 0x20 || point.value == 0x7F) {
      result += "\\x" + Hex(ByteAt(text, 0), 2);
    } else if (IsControl(point.value) || TurnsTheLine(point.value)) {
      result += "\\u{" + Hex(point.value, 4) + "}";
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return result;
}

std::string SafeFileName(std::string_view name) {
  const std::size_t slash = name.find_last_of("/\\");
  if (slash != std::string_view::npos) {
    name.remove_prefix(slash + 1);
  }
  std::string clean;
  while (!name.empty()) {
    const CodePoint point = FirstCodePoint(name);
    const std::size_t length = std::max<std::size_t>(point.lengthBytes, 1);
    if (point.lengthBytes == 0 || IsControl(point.value) || TurnsTheLine(point.value)) {
      clean += '_';
    } else {
      clean += name.substr(0, length);
    }
    name.remove_prefix(length);
  }
  const std::string_view stripped = StripEnds(clean, " .");
  std::size_t dot = stripped.rfind('.');
  if (dot == std::string_view::npos || stripped.size() - dot > kSuffixBytes) {
    dot = stripped.size();
  }
  return std::string(CutUtf8(stripped.substr(0, dot), kNameBytes)) +
         std::string(stripped.substr(dot));
}

}  // namespace zevka::host
