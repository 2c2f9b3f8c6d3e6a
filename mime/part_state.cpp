#include "mime/part_state.h"

#include <utility>

#include "mime/mime_part.h"

namespace zevka {

void PartDeleter::operator()(MIMEPart* part) const {
  delete part;
}

void ResetPart(PartState& part) {
  RemoveAtEnd(part.files, part.footerText);
  PartState fresh;
  fresh.depth = part.depth;
  fresh.writeThrough = part.writeThrough;
  fresh.signatures = part.signatures;
  part = std::move(fresh);
}

void EndParts(PartList parts) {
  while (!parts.empty()) {
    const PartPtr first = std::move(parts.front().part);
    parts.pop_front();
    if (first) {
      parts.splice(parts.begin(), first->State().children);
    }
  }
}

void RemoveFiles(const PartState& part) {
  RemoveOwnAndBodies(part.files);
  if (part.kind.isMultipart) {
    for (const PartNode& child : part.children) {
      RemoveFiles(child.part->State());
    }
  }
}

void DropFirstChild(PartState& part) {
  if (part.children.empty()) {
    return;
  }
  PartState& child = part.children.front().part->State();
  child.removed = true;
  RemoveFiles(child);
}

PartNode& AppendNode(PartList& children, PartPtr child) {
  std::string fileName = child->State().files.own.value_or("");
  return children.emplace_back(PartNode{std::move(child), std::move(fileName)});
}

}  // namespace zevka
