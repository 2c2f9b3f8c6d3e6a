#include "tests/faults/stated_losses.h"

#include <algorithm>
#include <string_view>

namespace zevka::test {
namespace {

bool IsTransferCause(Cause cause) {
  return cause == Cause::kOpen || cause == Cause::kRead || cause == Cause::kWrite ||
         cause == Cause::kSeek || cause == Cause::kMemory || cause == Cause::kDisk;
}

bool IsMultipart(const Scenario& scenario) {
  return scenario.text.find("Content-Type: multipart/") != std::string::npos;
}

// Bodies are decoded in these while the message is open or when it ends: a changed part and one
// that takes a footer are written from the decoded body.
bool Decodes(const Scenario& scenario) {
  const std::string_view name = scenario.name;
  return scenario.footer != nullptr || name == "edit-base64" || name == "edit-children" ||
         name == "edit-quoted-printable" || name == "bodies-to-disk";
}

bool TransferIsSilent(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  // Without a commit or a decoding, no transfer reaches what is looked at.
  const bool transfers =
      scenario.work != nullptr ||
      (scenario.ending != Ending::kDiscard && scenario.ending != Ending::kCloseWithoutCommit);
  return verdict == Verdict::kLess && transfers && IsTransferCause(hit.cause) &&
         (hit.inOpen || Decodes(scenario));
}

bool ChildIsLeftOut(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  return verdict == Verdict::kLess && hit.inOpen && IsMultipart(scenario) &&
         hit.cause != Cause::kRename && hit.cause != Cause::kRemove;
}

bool ShortLooksLikeTheEnd(const Hit& hit, const Scenario& /*scenario*/, Verdict verdict) {
  return verdict == Verdict::kLess && hit.cause == Cause::kRead && !hit.flagged;
}

bool UnopenedIsLeftOut(const Hit& hit, const Scenario& /*scenario*/, Verdict verdict) {
  return verdict == Verdict::kLess && (hit.cause == Cause::kOpen || hit.cause == Cause::kMemory) &&
         hit.inEnd;
}

bool EditsFields(const Scenario& scenario) {
  const std::string_view name = scenario.name;
  return name == "edit-headers" || name == "edit-wide" || name == "save-and-close" ||
         name.starts_with("close-");
}

bool FieldIsUnencoded(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  return verdict == Verdict::kLess && hit.cause == Cause::kMemory && hit.inEnd &&
         EditsFields(scenario);
}

bool UnconvertedIsAText(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  return verdict == Verdict::kLess && hit.cause == Cause::kMemory && hit.inWork &&
         std::string_view(scenario.name) == "edit-wide";
}

bool RenamingNeedsMemory(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  return verdict == Verdict::kGone && hit.cause == Cause::kMemory && hit.inEnd &&
         scenario.source == Source::kMemory;
}

bool OldStaysAside(const Hit& hit, const Scenario& /*scenario*/, Verdict verdict) {
  return verdict == Verdict::kAside &&
         (hit.cause == Cause::kRename || hit.cause == Cause::kMemory) && hit.fromThenOn &&
         hit.inEnd;
}

bool NothingCanBeRemoved(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  return verdict == Verdict::kLess && hit.cause == Cause::kRemove && hit.fromThenOn && hit.inEnd &&
         std::string_view(scenario.name) == "footer-wrapper";
}

bool IsChildName(std::string_view suffix) {
  return suffix.size() > 1 && suffix.front() == '_' &&
         suffix.find_first_not_of("0123456789_e") == std::string_view::npos;
}

}  // namespace

const std::vector<StatedLoss>& StatedLosses() {
  static const std::vector<StatedLoss> losses = {
      {"transfer-is-silent",
       "a body that cannot be copied or decoded to its end ends there, and nobody is told",
       &TransferIsSilent},
      {"child-is-left-out", "a child that cannot be loaded is left out, and its message goes on",
       &ChildIsLeftOut},
      {"short-looks-like-the-end", "a read that gives less without the error flag is the end",
       &ShortLooksLikeTheEnd},
      {"field-is-unencoded", "a field that there is no memory to encode is written as it was set",
       &FieldIsUnencoded},
      {"unopened-is-left-out", "a body or a child whose file cannot be opened is not written",
       &UnopenedIsLeftOut},
      {"unconverted-is-a-text",
       "a wide text that there is no memory to convert is \"(conversion-error)\"",
       &UnconvertedIsAText},
      {"renaming-needs-memory",
       "a memory file is entered anew under its new name, and lost when there is no memory for it",
       &RenamingNeedsMemory},
      {"old-stays-aside", "the way back is a renaming too: the old message stays set aside",
       &OldStaysAside},
      {"nothing-can-be-removed",
       "a wrapper that finds its first child's text still there takes it for left out, and cannot "
       "put the old message back while that text keeps the name",
       &NothingCanBeRemoved},
  };
  return losses;
}

const StatedLoss* StatedLossFor(const Hit& hit, const Scenario& scenario, Verdict verdict) {
  const auto found =
      std::find_if(StatedLosses().begin(), StatedLosses().end(),
                   [&](const StatedLoss& loss) { return loss.covers(hit, scenario, verdict); });
  return found == StatedLosses().end() ? nullptr : &*found;
}

const StatedLoss* StatedLeftover(const Hit& hit, const std::string& suffix) {
  static const StatedLoss unopened = {
      "text-left-behind", "the text of a child that could not be opened stays under its name",
      nullptr};
  static const StatedLoss unremoved = {"not-removed", "what cannot be removed stays", nullptr};
  if (hit.cause == Cause::kRemove || hit.removalFails) {
    return &unremoved;
  }
  static const StatedLoss piece = {
      "piece-of-a-commit", "a message that did not get to disk whole leaves its beginning there",
      nullptr};
  if (hit.cause == Cause::kCommit && suffix.empty()) {
    return &piece;
  }
  return hit.cause == Cause::kOpen && hit.inEnd && IsChildName(suffix) ? &unopened : nullptr;
}

}  // namespace zevka::test
