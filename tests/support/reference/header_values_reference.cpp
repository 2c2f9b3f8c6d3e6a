#include "tests/support/reference/header_values_reference.h"

#include <algorithm>
#include <cstdint>

#include "tests/support/reference/encoded_words_reference.h"

namespace zevka::reference {
namespace {

constexpr std::size_t kNameRoom = 512;

std::string SkipAnyOf(const std::string& characters, const std::string& text) {
  const std::size_t at = text.find_first_not_of(characters);
  return at == std::string::npos ? "" : text.substr(at);
}

bool Letter(const std::string& text) {
  return !text.empty() && text[0] >= 'a' && text[0] <= 'z';
}

// Behind "protocol", in lower case: what the parameter's value begins with, or nothing.
std::optional<std::string> ProtocolValue(std::string rest) {
  rest = SkipAnyOf(" \t", rest);
  if (rest.substr(0, 1) != "=") {
    return std::nullopt;
  }
  rest = SkipAnyOf(" \t", rest.substr(1));
  const std::string first = rest.substr(0, 1);
  if (first == "\"" || first == "'") {
    return SkipAnyOf(" \t", rest.substr(1));
  }
  return Letter(rest) ? std::optional(rest) : std::nullopt;
}

}  // namespace

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c + 32);
    }
  }
  return text;
}

std::string WithoutComments(const std::string& text) {
  if (text.find('(') == std::string::npos) {
    return text;
  }
  std::string kept;
  std::int64_t depth = 0;
  for (const char c : text) {
    depth += c == '(' ? 1 : 0;
    depth -= c == ')' ? 1 : 0;
    if (depth == 0 && c != '(' && c != ')') {
      kept += c;
    }
  }
  return kept;
}

TypeMatch MatchType(const std::string& value, const std::string& mediaType) {
  const std::string lower = Lower(value);
  const std::string type = SkipAnyOf(" \t", lower);
  if (type.substr(0, mediaType.size()) == mediaType) {
    const std::string next = type.substr(mediaType.size(), 1);
    if (next.empty() || next == ";" || next == " " || next == "\t") {
      return {true, false};
    }
  }
  const std::size_t at = lower.find("protocol");
  if (at == std::string::npos) {
    return {};
  }
  const std::optional<std::string> named = ProtocolValue(lower.substr(at + 8));
  const bool same = named && named->substr(0, mediaType.size()) == mediaType;
  return {false, same && !Letter(named->substr(mediaType.size()))};
}

Name NameIn(const std::string& value, const std::string& parameter, const std::string& lineEnd) {
  Name none{false, "body", std::nullopt, -1, false};
  const std::size_t at = Lower(value).find(parameter);
  if (at == std::string::npos) {
    return none;
  }
  std::string rest = SkipAnyOf("\t\n\v\f\r =", value.substr(at + parameter.size()));
  if (rest.empty()) {
    return none;
  }
  char terminator = ';';
  if (rest[0] == '"' || rest[0] == '\'') {
    terminator = rest[0];
    rest = rest.substr(1);
  }
  if (rest.empty()) {
    return none;
  }
  if (rest[0] == terminator) {
    return {true, "", std::nullopt, std::nullopt, false};
  }
  const auto offset = static_cast<long>(value.size() - rest.size());
  const std::string raw = rest.substr(0, rest.find(terminator));
  const Run run = DecodeRun(raw, kNameRoom, 0, lineEnd, nullptr);
  const std::string decoded = run.bytes.substr(0, run.bytes.find('\0'));
  return {true, run.count > 0 ? decoded.substr(0, raw.size()) : raw,
          run.charset.value_or("").substr(0, 31), offset, run.count < 0};
}

std::optional<std::string> Refold(const std::string& value,
                                  const std::vector<std::size_t>& segments,
                                  const std::string& lineEnd) {
  std::string folded;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const std::size_t from = i == 0 ? 0 : segments[i - 1];
    if (segments[i] > value.size() || (i > 0 && segments[i] <= from)) {
      return std::nullopt;
    }
    folded += i == 0 ? "" : lineEnd;
    folded += segments[i] == 0 ? " " : value.substr(from, segments[i] - from);
  }
  return folded;
}

}  // namespace zevka::reference
