#include "host/cli/message_text.h"

#include <cstddef>

#include "host/kit/encoded_words.h"
#include "host/kit/sha256.h"
#include "host/safe_edit/outline.h"

namespace zevka::host {

namespace {

// Appends with CR LF and CR as LF, and with an LF at the end.
void AppendLines(std::string_view text, std::string* lines) {
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\r') {
      lines->push_back(text[index]);
    } else if (index + 1 == text.size() || text[index + 1] != '\n') {
      lines->push_back('\n');
    }
  }
  if (!text.empty() && lines->back() != '\n') {
    lines->push_back('\n');
  }
}

void AppendLeaf(const OutlinePart& leaf, std::string* lines) {
  const std::string body = DecodedBody(leaf);
  if (leaf.mediaType.starts_with("text/")) {
    const auto charset = FindParameter(leaf, "content-type", "charset");
    AppendLines(TextInUtf8(charset.value_or("us-ascii"), body).value_or(body), lines);
    return;
  }
  lines->append("(").append(std::to_string(body.size())).append(" bytes, SHA-256 ");
  lines->append(Sha256Hex(body)).append(")\n");
}

}  // namespace

std::string ReadableText(std::string_view message) {
  const Outline outline = Outline::Read(message);
  std::string lines;
  bool isFirst = true;
  for (const OutlinePart* part : outline.AllParts()) {
    if (!isFirst) {
      lines.append("--- part ").append(part->number).append("\n");
    }
    isFirst = false;
    AppendLines(part->header, &lines);
    if (part->kind == OutlineKind::kLeaf) {
      AppendLeaf(*part, &lines);
    }
  }
  return lines;
}

}  // namespace zevka::host
