#include "tests/abi/corpus_comparison.h"

#include <algorithm>

#include "tests/abi/corpus_rules.h"

namespace zevka::test {
namespace {

constexpr std::size_t kLongestLine = 4095;
constexpr int kDepthLimit = 16;

std::string_view FirstLine(std::string_view text) {
  return text.substr(0, text.find_first_of("\r\n"));
}

std::string Shown(std::string_view text) {
  std::string out;
  for (const char c : text.substr(0, 24)) {
    out += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  }
  return "[" + out + "] " + std::to_string(text.size());
}

std::string TailShown(std::string_view text) {
  return Shown(text.substr(text.size() - std::min<std::size_t>(text.size(), 24))) + " of " +
         std::to_string(text.size());
}

// The text without its line ends and delimiters.
std::string WithoutDelimiters(std::string text, const std::vector<std::string>& boundaries) {
  std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
  for (const std::string& boundary : boundaries) {
    const std::string delimiter = "--" + boundary;
    for (std::size_t at = text.find(delimiter); at != std::string::npos;
         at = text.find(delimiter, at)) {
      text.erase(at, delimiter.size());
    }
  }
  return text;
}

}  // namespace

void Comparison::Compare(const Node& before, const Node& after, int depth) {
  if (BecameFields(before, after) || FellBelowDepthLimit(before, after, depth)) {
    return;
  }
  if (EstablishedLineEnd(before) != EstablishedLineEnd(after) && !after.fields.empty()) {
    Differ("line end");
  }
  CompareFields(before.fields, after.fields);
  if (before.name != after.name) {
    Differ("display name [" + before.name + "] now [" + after.name + "]");
  }
  CompareBody(before, after, before.encoded);
  CompareDecoded(before, after);
  CompareChildren(before, after, depth);
  CompareEmbedded(before, after);
}

// Text without fields that reads as fields once it was written: either its one line got the line
// end that completes a field, or the blank lines that hid its fields were not written again.
bool Comparison::BecameFields(const Node& before, const Node& after) {
  if (!before.fields.empty() || after.fields.empty()) {
    return false;
  }
  const std::string_view text = before.encoded;
  const std::size_t start = text.find_first_not_of("\r\n");
  const std::string_view line =
      start == std::string_view::npos ? "" : FirstLine(text.substr(start));
  if (!IsFieldLine(line) || line.size() > kLongestLine) {
    return false;
  }
  const std::size_t colon = line.find(':');
  const bool kept = after.fields[0].first == line.substr(0, colon) &&
                    after.fields[0].second.starts_with(line.substr(colon + 1));
  if (kept && start + line.size() == text.size() && after.fields.size() == 1) {
    ledger_->Met("the line end put behind a lone line makes it a field");
    return true;
  }
  const std::string written = before.encoded + EstablishedLineEnd(before);
  if (kept && start == 0 && written.find(after.encoded) != std::string::npos) {
    ledger_->Met("fields hidden by leading blank lines appear, for those lines are not written");
    return true;
  }
  return false;
}

// A multipart that stands one level deeper than before, inside a wrapper, may be too deep to split.
bool Comparison::FellBelowDepthLimit(const Node& before, const Node& after, int depth) {
  if (!before.multipart || after.multipart || depth < kDepthLimit) {
    return false;
  }
  ledger_->Met("a multipart at depth 16 is not split");
  for (const Node& child : before.children) {
    if (after.encoded.find(child.encoded) == std::string::npos) {
      Differ("text lost below the depth limit");
    }
  }
  return true;
}

void Comparison::CompareFields(const std::vector<Field>& before, const std::vector<Field>& after) {
  if (before.size() != after.size()) {
    Differ(std::to_string(before.size()) + " fields, now " + std::to_string(after.size()));
    return;
  }
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (before[i] == after[i]) {
      continue;
    }
    const std::string& value = before[i].second;
    const bool fromNextLine = value.empty() || value[0] == ' ' || value[0] == '\t';
    if (before[i].first == after[i].first && fromNextLine && after[i].second == " " + value) {
      ledger_->Met("a field with nothing on its first line gets a blank there");
    } else {
      Differ("field " + before[i].first + " " + Shown(value) + " now " + after[i].first + " " +
             Shown(after[i].second));
    }
  }
}

void Comparison::CompareBody(const Node& before, const Node& after, const std::string& body) {
  const std::string lineEnd = EstablishedLineEnd(before);
  std::string expected = body;
  std::set<std::string> rules;
  if (LacksLineEnd(body, lineEnd)) {
    expected += lineEnd;
    rules.insert("a body whose last read does not end with the line end gets one");
  }
  if (before.multipart && before.children.empty()) {
    expected += "----" + lineEnd + lineEnd;
    rules.insert("a multipart without a delimiter gains an empty closing delimiter");
  }
  if (before.fields.empty() && body.empty() && !parentLineEnd_.empty()) {
    expected = parentLineEnd_;
    rules.insert("an empty part of a multipart gets a line end");
  }
  if (after.encoded != expected) {
    Differ("body ends " + TailShown(after.encoded) + " instead of " + TailShown(expected));
    return;
  }
  for (const std::string& rule : rules) {
    ledger_->Met(rule);
  }
}

// The decoded body changes no more than by the line end that the encoded body got.
void Comparison::CompareDecoded(const Node& before, const Node& after) {
  if (before.decoded == after.decoded || !after.encoded.starts_with(before.encoded)) {
    return;
  }
  const std::string added = after.encoded.substr(before.encoded.size());
  const bool prefixed = after.decoded.starts_with(before.decoded);
  const std::string gained = prefixed ? after.decoded.substr(before.decoded.size()) : "";
  if (!prefixed || gained.empty() || !added.ends_with(gained)) {
    Differ("decoded body ends " + TailShown(after.decoded) + " instead of " +
           TailShown(before.decoded) + " and the line end");
  }
}

void Comparison::CompareChildren(const Node& before, const Node& after, int depth) {
  if (before.multipart != after.multipart) {
    Differ("multipart or not");
    return;
  }
  if (before.children.size() != after.children.size()) {
    if (!SplitsOnceClosed(before, after, depth)) {
      Differ(std::to_string(before.children.size()) + " children, now " +
             std::to_string(after.children.size()));
    }
    return;
  }
  const std::string place = place_;
  for (std::size_t i = 0; i < before.children.size(); ++i) {
    Comparison child(*ledger_);
    child.SetPlace(place + "." + std::to_string(i));
    child.SetParentLineEnd(EstablishedLineEnd(before));
    child.Compare(before.children[i], after.children[i], depth + 1);
  }
}

// The last part ran to the end of the message over delimiters that did not count there; with a
// closing delimiter behind it they do.
bool Comparison::SplitsOnceClosed(const Node& before, const Node& after, int depth) {
  if (before.children.empty() || after.children.size() < before.children.size()) {
    return false;
  }
  const std::string last = Haystack(before.children.back());
  const std::vector<std::string> boundaries = Boundaries(before);
  const bool held = std::any_of(boundaries.begin(), boundaries.end(), [&](const std::string& text) {
    return last.find("--" + text) != std::string::npos;
  });
  if (!held) {
    return false;
  }
  for (std::size_t i = 0; i + 1 < before.children.size(); ++i) {
    Comparison child(*ledger_);
    child.SetPlace(place_ + "." + std::to_string(i));
    child.SetParentLineEnd(EstablishedLineEnd(before));
    child.Compare(before.children[i], after.children[i], depth + 1);
  }
  std::string split;
  bool nested = false;
  for (std::size_t i = before.children.size() - 1; i < after.children.size(); ++i) {
    split += Haystack(after.children[i]);
    nested = nested || after.children[i].multipart || after.children[i].hasSourceCopy;
  }
  if (!nested && WithoutDelimiters(split, boundaries) != WithoutDelimiters(last, boundaries)) {
    Differ("text lost where the last part is split");
  }
  ledger_->Met("a multipart that was not closed splits at its delimiters once it is");
  return true;
}

void Comparison::CompareEmbedded(const Node& before, const Node& after) {
  if (before.hasSourceCopy != after.hasSourceCopy ||
      before.embedded.size() != after.embedded.size()) {
    Differ("embedded message or not");
    return;
  }
  for (std::size_t i = 0; i < before.embedded.size(); ++i) {
    Comparison embedded(*ledger_);
    embedded.SetPlace(place_ + ".embedded");
    embedded.Compare(before.embedded[i], after.embedded[i], 0);
  }
}

}  // namespace zevka::test
