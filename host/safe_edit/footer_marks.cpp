#include "host/safe_edit/footer_marks.h"

#include <zevka/safe_edit.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "host/kit/sha256.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kDigestName = "sha256=";

// The text with LF as its only line end.
std::string WithLineFeeds(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\r') {
      result += text[index];
    } else if (index + 1 == text.size() || text[index + 1] != '\n') {
      result += '\n';
    }
  }
  return result;
}

std::string_view WithoutBlanksBehind(std::string_view line) {
  return line.substr(0, line.find_last_not_of(" \t") + 1);
}

// Depth first, with a list of its own: nesting is the sender's choice.
std::vector<const OutlinePart*> PlainTexts(const Outline& message,
                                           const std::set<std::string>& removed) {
  std::vector<const OutlinePart*> open = {&message.Message()};
  std::vector<const OutlinePart*> texts;
  while (!open.empty()) {
    const OutlinePart* part = open.back();
    open.pop_back();
    if (part->kind == OutlineKind::kLeaf && part->mediaType == "text/plain" && !IsAttached(*part)) {
      texts.push_back(part);
    } else if (part->kind == OutlineKind::kMultipart) {
      for (const OutlinePart& child : part->children) {
        if (removed.count(child.number) == 0) {
          open.push_back(&child);
        }
      }
    }
  }
  return texts;
}

}  // namespace

bool IsAttached(const OutlinePart& part) {
  const OutlineField* disposition = FindField(part, "content-disposition");
  return disposition != nullptr &&
         Lower(Trim(Unfolded(disposition->value))).starts_with("attachment");
}

std::string PlainFooter(std::string_view text) {
  const std::string lines = WithLineFeeds(text);
  std::string result;
  std::string_view rest = lines;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    result += WithoutBlanksBehind(rest.substr(0, end));
    result += '\n';
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  const std::size_t first = result.find_first_not_of('\n');
  if (first == std::string::npos) {
    return {};
  }
  return result.substr(first, result.find_last_not_of('\n') + 1 - first);
}

bool EndsWithFooter(std::string_view text, std::string_view plainFooter) {
  // No more of the text than can hold the footer, blanks at line ends included, is looked at.
  constexpr std::size_t kRoomFactor = 4;
  constexpr std::size_t kRoomBytes = 4096;
  const std::size_t room = plainFooter.size() * kRoomFactor + kRoomBytes;
  if (text.size() > room) {
    text.remove_prefix(text.size() - room);
  }
  const std::string plain = PlainFooter(text);
  return plain.ends_with(plainFooter) && (plain.size() == plainFooter.size() ||
                                          plain[plain.size() - plainFooter.size() - 1] == '\n');
}

std::string FooterDigest(std::string_view footer) {
  std::string digest(kDigestName);
  return digest += Sha256Hex(PlainFooter(footer));
}

bool IsMarked(const OutlinePart& message, std::string_view markerField, std::string_view digest) {
  const std::string lowerName = Lower(markerField);
  return std::any_of(message.fields.begin(), message.fields.end(), [&](const OutlineField& field) {
    return Lower(field.name) == lowerName && Trim(Unfolded(field.value)) == digest;
  });
}

const OutlinePart* PartWithFooter(const Outline& message, std::string_view plainFooter,
                                  const std::set<std::string>& removed) {
  for (const OutlinePart* part : PlainTexts(message, removed)) {
    if (EndsWithFooter(DecodedBody(*part), plainFooter)) {
      return part;
    }
  }
  return nullptr;
}

}  // namespace zevka::host
