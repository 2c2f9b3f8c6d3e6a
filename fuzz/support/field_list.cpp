#include "fuzz/support/field_list.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace zevka::fuzz {
namespace {

bool SameName(const std::string& left, const std::string& right) {
  return ::strcasecmp(left.c_str(), right.c_str()) == 0;
}

bool IsSignature(const ListedField& field) {
  return SameName(field.name, "DKIM-Signature") || SameName(field.name, "DomainKey-Signature");
}

bool IsNameCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 128 && (std::isalnum(byte) != 0 || c == '-');
}

constexpr std::size_t kLongestLine = 4095;  // characters

// The lines of a text, with whether each had a line end; nothing when line ends differ.
struct Line {
  std::string text;
  bool ended = false;
};

std::optional<std::vector<Line>> LinesOf(std::string_view text, std::string& lineEnd) {
  std::vector<Line> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    Line line{std::string(text.substr(0, end)), end < text.size()};
    text.remove_prefix(end);
    if (line.ended) {
      const std::string found(text.substr(0, text.starts_with("\r\n") ? 2 : 1));
      lineEnd = lineEnd.empty() ? found : lineEnd;
      if (found != lineEnd) {
        return std::nullopt;
      }
      text.remove_prefix(found.size());
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

bool BeginsWithBlank(const std::string& line) {
  return !line.empty() && (line[0] == ' ' || line[0] == '\t');
}

// Where the name in a line ends; npos for a line that is no field.
std::size_t NameEnd(const std::string& line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos || line.find_first_of(" \t") > colon) {
    return colon;
  }
  const std::size_t text = line.find_first_not_of(" \t");
  const bool isMailboxLine = ::strncasecmp(line.c_str() + text, "From ", 5) == 0;
  return isMailboxLine ? colon : std::string::npos;
}

}  // namespace

int FieldList::Set(const std::string& name, const std::string& value, bool replace) {
  if (name.empty() || value.empty() || !std::all_of(name.begin(), name.end(), IsNameCharacter)) {
    return 0;
  }
  const auto signature = std::find_if(fields.begin(), fields.end(), IsSignature);
  const auto target = std::find_if(fields.begin(), fields.end(), [&](const ListedField& field) {
    return SameName(field.name, name);
  });
  if (!replace || target == fields.end()) {
    fields.insert(signature, {name, value, ""});
    return 1;
  }
  const bool isBelow = std::find_if(fields.begin(), target, IsSignature) != target;
  if (!isBelow) {
    target->value = value;
    target->lines.clear();
  }
  return 1;
}

const ListedField* FieldList::Next() {
  if (next_ == fields.end()) {
    return nullptr;
  }
  return &*next_++;
}

std::optional<SplitMessage> SplitHeader(std::string_view message) {
  std::string lineEnd;
  const std::optional<std::vector<Line>> lines = LinesOf(message, lineEnd);
  if (!lines || lines->empty() || message.find('\0') != std::string_view::npos ||
      lines->front().text.empty()) {
    return std::nullopt;
  }
  const auto isLong = [](const Line& line) { return line.text.size() > kLongestLine; };
  if (std::any_of(lines->begin(), lines->end(), isLong)) {
    return std::nullopt;
  }
  SplitMessage split;
  std::size_t at = 0;
  std::size_t offset = 0;  // of line `at` in the message
  const auto step = [&] {
    offset += (*lines)[at].text.size() + lineEnd.size();
    ++at;
  };
  while (at < lines->size() && (*lines)[at].ended) {
    const std::string& first = (*lines)[at].text;
    const std::size_t colon = NameEnd(first);
    if (first.empty() || colon == std::string::npos) {
      break;
    }
    ListedField field{first.substr(0, colon), first.substr(colon + 1), first};
    for (step(); at < lines->size() && BeginsWithBlank((*lines)[at].text); step()) {
      field.value += (*lines)[at].text;
      field.lines += lineEnd + (*lines)[at].text;
    }
    if (!SameName(field.name, "X-NoCharsWrongEncoded")) {
      split.fields.push_back(std::move(field));
    }
  }
  if (at < lines->size() && (*lines)[at].ended && (*lines)[at].text.empty()) {
    step();
  }
  const std::size_t bodyStart = split.fields.empty() ? 0 : std::min(offset, message.size());
  split.body = std::string(message.substr(bodyStart));
  return split;
}

}  // namespace zevka::fuzz
