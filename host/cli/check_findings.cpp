#include "host/cli/check_findings.h"

namespace zevka::host {

namespace {

void Collect(const OutlinePart& part, std::optional<std::size_t> parent, bool isMessage,
             std::vector<CheckedPart>* parts) {
  CheckedPart checked;
  checked.part = &part;
  checked.parent = parent;
  checked.isMessage = isMessage;
  checked.bodyPlace = part.number;
  // The header of a message with a single body is the message's, not that of its part 1.
  checked.headerPlace = part.number;
  if (isMessage) {
    checked.headerPlace = parent ? (*parts)[*parent].bodyPlace : std::string();
  }
  const std::size_t index = parts->size();
  parts->push_back(std::move(checked));
  for (const OutlinePart& child : part.children) {
    Collect(child, index, part.kind == OutlineKind::kEmbedded, parts);
  }
}

}  // namespace

void CheckFindings::Add(std::string_view code, const std::string& part, std::uint64_t count,
                        std::string_view text) {
  if (count == 0) {
    return;
  }
  const auto [place, isNew] = places_.emplace(std::pair(part, std::string(code)), findings_.size());
  if (isNew) {
    findings_.push_back({std::string(code), part, 0, std::string(text)});
  }
  findings_[place->second].count += count;
}

std::vector<CheckedPart> PartsToCheck(const Outline& outline) {
  std::vector<CheckedPart> parts;
  Collect(outline.Message(), std::nullopt, true, &parts);
  return parts;
}

std::vector<CheckFinding> CheckMessage(std::string_view message) {
  const Outline outline = Outline::Read(message);
  const std::vector<CheckedPart> parts = PartsToCheck(outline);
  CheckFindings findings;
  if (message.empty()) {
    return {};
  }
  findings.Add("too-many-parts", "", outline.Exceeded() == OutlineLimit::kParts ? 1 : 0,
               "more parts than are looked at; the rest was not checked");
  findings.Add("too-deep", "", outline.Exceeded() == OutlineLimit::kDepth ? 1 : 0,
               "parts nested deeper than is looked at; the rest was not checked");
  CheckLines(message, parts, &findings);
  for (std::size_t index = 0; index < parts.size(); ++index) {
    CheckFields(parts[index], &findings);
    CheckStructure(parts, index, &findings);
    CheckEncoding(parts[index], &findings);
  }
  return findings.Take();
}

}  // namespace zevka::host
