#include "host/safe_edit/pairing.h"

#include <cstddef>

namespace zevka::host {

namespace {

constexpr std::size_t kPartsOfWrapper = 2;

FooterRoad RoadOf(const OutlinePart& before, const OutlinePart& after) {
  if (after.kind != OutlineKind::kMultipart) {
    return FooterRoad::kInline;
  }
  const bool isSameMultipart =
      before.kind == OutlineKind::kMultipart && before.boundary == after.boundary;
  return isSameMultipart ? FooterRoad::kChild : FooterRoad::kWrapper;
}

class Pairer {
 public:
  Pairer(const std::set<std::string>& removed, Pairing* pairing)
      : removed_(removed), pairing_(pairing) {}

  // Nesting is bounded by the limits of the outline.
  void Pair(const PartPair& pair, std::size_t furtherParts) {
    pairing_->pairs.push_back(pair);
    std::vector<const OutlinePart*> kept;
    for (const OutlinePart& child : pair.before->children) {
      if (removed_.count(child.number) == 0) {
        kept.push_back(&child);
      }
    }
    const std::vector<OutlinePart>& now = pair.after->children;
    if (now.size() != kept.size() + furtherParts) {
      pairing_->unpaired.push_back(pair.before);
      return;
    }
    for (std::size_t index = 0; index < kept.size(); ++index) {
      Pair({kept[index], &now[index]}, 0);
    }
  }

 private:
  const std::set<std::string>& removed_;
  Pairing* pairing_;
};

}  // namespace

Pairing PairParts(const Outline& before, const Outline& after, bool withFooter,
                  const std::set<std::string>& removed) {
  const OutlinePart& old = before.Message();
  const OutlinePart& now = after.Message();
  Pairing pairing;
  pairing.road = withFooter ? RoadOf(old, now) : FooterRoad::kNone;
  Pairer pairer(removed, &pairing);
  switch (pairing.road) {
    case FooterRoad::kNone:
      pairer.Pair({&old, &now}, 0);
      break;
    case FooterRoad::kInline:
      pairer.Pair({&old, &now, true, true}, 0);
      break;
    case FooterRoad::kChild:
      pairing.footerPart = now.children.empty() ? nullptr : &now.children.back();
      pairer.Pair({&old, &now}, 1);
      break;
    case FooterRoad::kWrapper:
      if (now.children.size() != kPartsOfWrapper) {
        pairing.unpaired.push_back(&old);
      } else {
        pairing.footerPart = &now.children.back();
        pairer.Pair({&old, &now.children.front(), false, false}, 0);
      }
      break;
  }
  return pairing;
}

}  // namespace zevka::host
