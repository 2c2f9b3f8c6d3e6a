#include "tests/abi/corpus_rules.h"

#include <algorithm>
#include <cctype>

namespace zevka::test {
namespace {

constexpr std::size_t kReadSize = 4096;

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

bool IsNamed(const Field& field, std::string_view lowerName) {
  return Lower(field.first) == lowerName;
}

// "\r", "\n" and "\r\n" stay, a run of one of the first two is cut to one, all else is CR LF.
std::string Settled(std::string_view run) {
  if (run == "\r" || run == "\n" || run == "\r\n") {
    return std::string(run);
  }
  if (run.size() > 1 && run[0] == run[1]) {
    return std::string(run.substr(0, 1));
  }
  return "\r\n";
}

// The line end of a text that has no fields: that of the blank lines it begins with, else that of
// its first line.
std::string LineEndOfText(std::string_view text) {
  constexpr std::size_t kLongestRun = 48;
  const std::size_t start = text.find_first_not_of("\r\n");
  if (start == std::string_view::npos || start > kLongestRun) {
    return "\r\n";
  }
  if (start > 0) {
    return Settled(text.substr(0, start));
  }
  const std::size_t end = text.find_first_of("\r\n");
  if (end == std::string_view::npos || end >= kReadSize) {
    return "\r\n";
  }
  return text.substr(end, 2) == "\r\n" ? "\r\n" : std::string(text.substr(end, 1));
}

// The text of the parameter behind "boundary".
std::string ParameterValue(std::string_view rest) {
  const std::size_t start = rest.find_first_not_of("= \t");
  if (start == std::string_view::npos) {
    return "";
  }
  rest.remove_prefix(start);
  const bool quoted = rest[0] == '"';
  const std::size_t end = rest.find_first_of(quoted ? "\"" : "; \t", quoted ? 1 : 0);
  std::string value(rest.substr(quoted ? 1 : 0, end == std::string_view::npos
                                                    ? std::string_view::npos
                                                    : end - (quoted ? 1 : 0)));
  value.erase(value.find_last_not_of(" \t") + 1);
  return value;
}

}  // namespace

std::string EstablishedLineEnd(const Node& node) {
  return node.fields.empty() ? LineEndOfText(node.encoded) : Settled(node.firstLineEnd);
}

bool IsFieldLine(std::string_view line) {
  line = line.substr(0, line.find('\0'));
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) {
    return false;
  }
  if (line.substr(0, colon).find_first_of(" \t") == std::string_view::npos) {
    return true;
  }
  const std::size_t start = line.find_first_not_of(" \t");
  return Lower(line.substr(start, 5)) == "from ";
}

bool LacksLineEnd(std::string_view body, std::string_view lineEnd) {
  const std::size_t lastRead = body.size() % kReadSize;
  return lastRead > 0 && (lastRead < lineEnd.size() || !body.ends_with(lineEnd));
}

std::vector<std::string> Boundaries(const Node& node) {
  constexpr std::string_view kParameter = "boundary";
  std::vector<std::string> boundaries;
  for (const Field& field : node.fields) {
    if (!IsNamed(field, "content-type")) {
      continue;
    }
    const std::string lower = Lower(field.second);
    for (std::size_t at = lower.find(kParameter); at != std::string::npos;
         at = lower.find(kParameter, at + 1)) {
      const std::string value =
          ParameterValue(std::string_view(field.second).substr(at + kParameter.size()));
      if (!value.empty()) {
        boundaries.push_back(value);
      }
    }
  }
  return boundaries;
}

std::vector<std::string> AllBoundaries(const Node& node) {
  std::vector<std::string> all = Boundaries(node);
  for (const std::vector<Node>* nodes : {&node.children, &node.embedded}) {
    for (const Node& child : *nodes) {
      const std::vector<std::string> below = AllBoundaries(child);
      all.insert(all.end(), below.begin(), below.end());
    }
  }
  return all;
}

std::string ByteRule(const Node& node, const std::string& once, const std::string& twice) {
  const std::string lineEnd = EstablishedLineEnd(node);
  if (!node.fields.empty() && node.encoded.empty() && twice == once + lineEnd) {
    return "a message that ends with its fields gets the blank line behind them";
  }
  for (const std::string& boundary : AllBoundaries(node)) {
    const std::string delimiter = "--" + boundary;
    std::string apart = once;
    for (std::size_t at = apart.find(delimiter); at != std::string::npos;
         at = apart.find(delimiter, at + delimiter.size())) {
      const std::string behind = apart.substr(at + delimiter.size(), 2);
      if (behind.starts_with('-') && behind != "--") {
        apart.insert(at + delimiter.size(), lineEnd);
      }
    }
    if (apart != once && apart == twice) {
      return "a delimiter with a lone hyphen behind it gets a line of its own";
    }
  }
  return "";
}

}  // namespace zevka::test
