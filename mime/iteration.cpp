#include "mime/iteration.h"

#include <memory>
#include <new>

#include "mime/mime_part.h"

namespace zevka {
namespace {

IteratorState* FindOrMakeIterator(PartState& part, ThreadRecordMap* map) {
  if (IteratorState* found = FindIterator(map)) {
    return found;
  }
  if (map == nullptr) {
    return nullptr;
  }
  std::unique_ptr<IteratorState> made(new (std::nothrow)
                                          IteratorState{part.headers.end(), part.children.end()});
  if (!made || ThreadMapStore(*map, made.get()) != 0) {
    return nullptr;
  }
  return made.release();
}

}  // namespace

void ReleaseIteratorState(void* state) {
  const std::unique_ptr<IteratorState> owned(static_cast<IteratorState*>(state));
}

IteratorState* FindIterator(ThreadRecordMap* map) {
  return map == nullptr ? nullptr : static_cast<IteratorState*>(ThreadMapFind(*map));
}

bool RewindHeaderCursor(PartState& part, ThreadRecordMap* map) {
  IteratorState* place = FindOrMakeIterator(part, map);
  if (place == nullptr) {
    return false;
  }
  place->header = part.headers.begin();
  return true;
}

bool RewindChildCursor(PartState& part, ThreadRecordMap* map) {
  IteratorState* place = FindOrMakeIterator(part, map);
  if (place == nullptr) {
    return false;
  }
  place->child = part.children.begin();
  return true;
}

const HeaderNode* CurrentField(PartState& part, ThreadRecordMap* map) {
  const IteratorState* place = FindIterator(map);
  if (place == nullptr || part.removed || place->header == part.headers.end()) {
    return nullptr;
  }
  return &*place->header;
}

MIMEPart* TakeNextChild(PartState& part, ThreadRecordMap* map) {
  IteratorState* place = FindIterator(map);
  if (place == nullptr || part.removed || place->child == part.children.end()) {
    return nullptr;
  }
  MIMEPart* child = (place->child++)->part.get();
  // KEEP(last-removed-child): a removed child with none behind it is given all the same.
  while (child->State().removed && place->child != part.children.end()) {
    child = (place->child++)->part.get();
  }
  return child;
}

}  // namespace zevka
