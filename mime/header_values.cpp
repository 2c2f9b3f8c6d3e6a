#include "mime/header_values.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "codec/ascii.h"
#include "codec/encoded_words.h"

namespace zevka {
namespace {

constexpr std::size_t kNameRoom = 512;    // characters of a decoded name
constexpr std::size_t kCharsetRoom = 31;  // characters of a charset name

std::size_t SkipBlanks(std::string_view text, std::size_t from) {
  while (from < text.size() && IsBlank(text[from])) {
    ++from;
  }
  return from;
}

// What may stand between a parameter's name and its value.
bool IsBeforeValue(char c) {
  return c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == ' ' || c == '=';
}

// Puts the decoded form in the place of a name that is encoded words.
void DecodeName(DisplayName& name, DecodeState& decoder, LineEndStyle lineEnd) {
  std::array<char, kNameRoom> decoded{};
  std::array<char, kCharsetRoom + 1> charset{};
  const int count = DecodeWordRun(decoder, *name.text, decoded,
                                  std::span(charset).first(kCharsetRoom), false, lineEnd);
  name.charset = charset.data();
  if (count > 0) {
    // KEEP(name-cut): a decoded name is no longer than its undecoded form.
    const std::size_t length = ::strnlen(decoded.data(), decoded.size());
    name.text = std::string(decoded.data(), std::min(length, name.text->size()));
  }
}

}  // namespace

bool MatchContentType(Signatures& signatures, std::string_view value, std::string_view mediaType) {
  const std::string_view type = value.substr(SkipBlanks(value, 0));
  if (StartsWithNoCase(type, mediaType)) {
    const std::string_view rest = type.substr(mediaType.size());
    if (rest.empty() || rest.front() == ';' || IsBlank(rest.front())) {
      return true;
    }
  }
  constexpr std::string_view kProtocol = "protocol";
  std::size_t at = FindNoCase(value, kProtocol);
  if (at == std::string_view::npos) {
    return false;
  }
  at = SkipBlanks(value, at + kProtocol.size());
  if (at >= value.size() || value[at] != '=') {
    return false;
  }
  at = SkipBlanks(value, at + 1);
  if (at >= value.size()) {
    return false;
  }
  if (value[at] == '"' || value[at] == '\'') {
    ++at;
  } else if (!IsAlpha(value[at])) {
    return false;
  }
  const std::string_view named = value.substr(SkipBlanks(value, at));
  // KEEP(protocol-any-type): whichever type is asked for, a protocol that names it marks the part
  // as signed.
  if (StartsWithNoCase(named, mediaType)) {
    // KEEP(protocol-stops-at-a-letter): a letter behind the type makes it another type; a digit
    // does not.
    const std::string_view rest = named.substr(mediaType.size());
    signatures.protocol = signatures.protocol || rest.empty() || !IsAlpha(rest.front());
  }
  return false;
}

std::string StripComments(std::string_view text) {
  if (text.find('(') == std::string_view::npos) {
    return std::string(text);
  }
  std::string kept;
  kept.reserve(text.size());
  // KEEP(comment-depth-wraps): a ")" too many takes the depth below zero, and what follows is
  // dropped until a "(" brings it back. Values are compared in this form everywhere, so it must not
  // change.
  std::uint32_t depth = 0;
  for (const char c : text) {
    if (c == '(') {
      ++depth;
    } else if (c == ')') {
      --depth;
    } else if (depth == 0) {
      kept.push_back(c);
    }
  }
  return kept;
}

bool ExtractName(DisplayName& name, DecodeState& decoder, LineEndStyle lineEnd,
                 std::string_view value, std::string_view parameter) {
  const auto notFound = [&name] {
    name.text = "body";
    name.offset = -1;
    return false;
  };
  // KEEP(name-in-filename): the parameter is a plain substring, so "name" is found inside
  // "filename" too.
  std::size_t at = FindNoCase(value, parameter);
  if (at == std::string_view::npos) {
    return notFound();
  }
  at += parameter.size();
  while (at < value.size() && IsBeforeValue(value[at])) {
    ++at;
  }
  if (at >= value.size()) {
    return notFound();
  }
  char terminator = ';';
  if (value[at] == '"' || value[at] == '\'') {
    terminator = value[at];
    ++at;
  }
  if (at < value.size() && value[at] == terminator) {
    name.text = "";
    return true;
  }
  name.offset = static_cast<std::int32_t>(at);
  if (at >= value.size()) {
    return notFound();
  }
  name.text = std::string(value.substr(at, value.find(terminator, at) - at));
  DecodeName(name, decoder, lineEnd);
  return true;
}

}  // namespace zevka
