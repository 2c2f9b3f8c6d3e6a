#include "host/kit/field_text.h"

#include <algorithm>
#include <cstddef>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

// The text without its comments, which may nest and hold quoted parentheses.
std::string WithoutComments(std::string_view text) {
  std::string result;
  int depth = 0;
  bool quoted = false;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char character = text[index];
    if (character == '\\' && (quoted || depth > 0) && index + 1 < text.size()) {
      ++index;
      continue;
    }
    if (character == '"' && depth == 0) {
      quoted = !quoted;
    }
    if (character == '(' && !quoted) {
      ++depth;
    } else if (character == ')' && depth > 0) {
      --depth;
    } else if (depth == 0) {
      result += character;
    }
  }
  return result;
}

// The first word of a value, in lower case, up to a semicolon, with no blanks inside.
std::string Token(std::string_view value) {
  std::string token = Lower(WithoutComments(value));
  token.resize(std::min(token.find(';'), token.size()));
  std::erase_if(token, [](char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
  });
  return token;
}

bool IsAsciiAlphanumeric(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9');
}

}  // namespace

bool IsFieldName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char character) {
    return IsAsciiAlphanumeric(character) || character == '-';
  });
}

bool IsFieldValue(std::string_view value) {
  return !Trim(value).empty() && IsUtf8(value) &&
         std::none_of(value.begin(), value.end(), [](char character) {
           const auto byte = static_cast<unsigned char>(character);
           return (byte < ' ' && byte != '\t') || byte == 0x7F;
         });
}

std::string MediaTypeInValue(std::string_view value) {
  std::string type = Token(value);
  return type.find('/') == std::string::npos ? "text/plain" : type;
}

std::string EncodingInValue(std::string_view value) {
  std::string encoding = Token(value);
  return encoding.empty() ? "7bit" : encoding;
}

}  // namespace zevka::host
