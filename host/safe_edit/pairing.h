// Which part of a changed message is which part of the original: the question that comes before
// putting anything back or comparing anything.
//
// Threads and errors: as outline.h.
#ifndef ZEVKA_HOST_SAFE_EDIT_PAIRING_H
#define ZEVKA_HOST_SAFE_EDIT_PAIRING_H

#include <set>
#include <string>
#include <vector>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// Where a footer has gone.
enum class FooterRoad {
  kNone,
  kInline,   // into the body of a message that has only one
  kChild,    // into a further part of a multipart message
  kWrapper,  // the message's body has become the first of two parts
};

struct PartPair {
  const OutlinePart* before;
  const OutlinePart* after;
  bool hasOwnFields =
      true;               // false: the message whose body was wrapped; its fields are in two places
  bool isEdited = false;  // the body that the footer went into
};

struct Pairing {
  FooterRoad road = FooterRoad::kNone;
  std::vector<PartPair> pairs;              // the message first, each before its children
  const OutlinePart* footerPart = nullptr;  // of the result: with kChild and kWrapper
  // Parts whose children do not go together one to one; not empty when the trees differ.
  std::vector<const OutlinePart*> unpaired;
};

// Pairs the parts by their places.
//   withFooter  a footer was asked for
//   removed     numbers of the parts that were asked to go
Pairing PairParts(const Outline& before, const Outline& after, bool withFooter,
                  const std::set<std::string>& removed);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_PAIRING_H
