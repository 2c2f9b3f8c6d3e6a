// What has to be done to a message so that wishes come true, and what of them is true already.
//
// What it leaves to others: whether the message may be changed at all (guard.h), doing it
// (safe_edit.cpp).
#ifndef ZEVKA_HOST_SAFE_EDIT_PLAN_H
#define ZEVKA_HOST_SAFE_EDIT_PLAN_H

#include <zevka/safe_edit.h>

#include <optional>
#include <vector>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/verify.h"

namespace zevka::host {

// What is wrong with wishes or options, whatever the message.
std::optional<ReasonNote> FindBadWish(const Wishes& wishes, const EditOptions& options);

struct Plan {
  AppliedEdit edit;                   // what is left to do
  std::vector<ReasonNote> fulfilled;  // why a wish needs nothing
  std::vector<ReasonNote> impossible;
  bool HasWork() const;
};

// The plan for wishes that are not bad and a message that may be changed.
Plan MakePlan(const Outline& message, const Wishes& wishes, const EditOptions& options);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_PLAN_H
