#include "host/safe_edit/outline.h"

#include <algorithm>
#include <utility>

#include "host/safe_edit/outline_pass.h"

namespace zevka::host {

namespace {

// A part whose children are still to be looked at.
struct Visit {
  OutlinePart* part = nullptr;
  std::size_t depth = 0;
  std::size_t decodings = 0;
};

// Reads the decoded text of an embedded message that the pass has left alone.
void ReadDecoded(const Visit& visit, OutlineBudget* budget) {
  OutlinePart& part = *visit.part;
  if (budget->parts >= budget->limits.mostParts) {
    budget->exceeded = OutlineLimit::kParts;
    return;
  }
  if (visit.depth >= budget->limits.mostDepth || visit.decodings >= budget->limits.mostDecodings) {
    budget->exceeded = OutlineLimit::kDepth;
    return;
  }
  auto text = std::make_shared<const std::string>(DecodedBody(part));
  if (text->empty()) {
    part.kind = OutlineKind::kLeaf;
    return;
  }
  ++budget->parts;
  part.decodedText = std::move(text);
  OutlinePart& child = part.children.emplace_back();
  OutlinePass(*part.decodedText, visit.depth + 1, OutlineWay::kUsual, budget).Read(&child);
}

// Passes over the message, then over the texts that come to light by decoding.
void ReadAll(std::string_view text, OutlineWay way, OutlinePart* message, OutlineBudget* budget) {
  OutlinePass(text, 0, way, budget).Read(message);
  std::vector<Visit> visits = {{.part = message}};
  while (!visits.empty() && budget->exceeded == OutlineLimit::kNone) {
    Visit visit = visits.back();
    visits.pop_back();
    if (visit.part->kind == OutlineKind::kEmbedded && visit.part->children.empty()) {
      ReadDecoded(visit, budget);
      ++visit.decodings;
    }
    for (OutlinePart& child : visit.part->children) {
      visits.push_back({&child, visit.depth + 1, visit.decodings});
    }
  }
}

bool IsMultipart(const OutlinePart& part) {
  return part.kind == OutlineKind::kMultipart;
}

void NumberParts(OutlinePart* message) {
  if (!IsMultipart(*message)) {
    message->number.push_back('1');
  }
  std::vector<OutlinePart*> waiting = {message};
  while (!waiting.empty()) {
    OutlinePart& part = *waiting.back();
    waiting.pop_back();
    if (part.kind == OutlineKind::kEmbedded && part.children.empty()) {
      part.kind = OutlineKind::kLeaf;  // a limit came first
    }
    std::string prefix = part.number;
    if (!prefix.empty()) {
      prefix.push_back('.');
    }
    std::size_t place = 0;
    for (OutlinePart& child : part.children) {
      ++place;
      const bool isBehindNumber = part.kind == OutlineKind::kEmbedded && IsMultipart(child);
      child.number = isBehindNumber ? part.number : prefix + std::to_string(place);
      waiting.push_back(&child);
    }
  }
}

}  // namespace

Outline Outline::Read(std::string_view text, const OutlineLimits& limits, OutlineWay way) {
  Outline outline;
  OutlineBudget budget{.limits = limits};
  ReadAll(text, way, &outline.message_, &budget);
  NumberParts(&outline.message_);
  outline.exceeded_ = budget.exceeded;
  return outline;
}

std::vector<const OutlinePart*> Outline::AllParts() const {
  std::vector<const OutlinePart*> parts;
  std::vector<const OutlinePart*> waiting = {&message_};
  while (!waiting.empty()) {
    const OutlinePart* part = waiting.back();
    waiting.pop_back();
    parts.push_back(part);
    for (auto child = part->children.rbegin(); child != part->children.rend(); ++child) {
      waiting.push_back(&*child);
    }
  }
  return parts;
}

const OutlinePart* Outline::Find(std::string_view number) const {
  if (number.empty()) {
    return &message_;
  }
  const std::vector<const OutlinePart*> parts = AllParts();
  const auto found = std::find_if(parts.begin(), parts.end(), [number](const OutlinePart* part) {
    return part->number == number;
  });
  return found == parts.end() ? nullptr : *found;
}

}  // namespace zevka::host
