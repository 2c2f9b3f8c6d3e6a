#include "host/safe_edit/repair.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/field_values.h"
#include "host/safe_edit/stretch.h"

namespace zevka::host {

namespace {

// The length of the line end that the text ends with; 0 when it ends with none.
std::size_t LineEndAtEnd(std::string_view text) {
  if (text.ends_with("\r\n")) {
    return 2;
  }
  return text.ends_with('\n') || text.ends_with('\r') ? 1 : 0;
}

bool DiffersInFinalLineEnd(std::string_view left, std::string_view right) {
  const std::string_view longer = left.size() > right.size() ? left : right;
  const std::string_view shorter = left.size() > right.size() ? right : left;
  return left.size() != right.size() && LineEndAtEnd(longer) == longer.size() - shorter.size() &&
         longer.starts_with(shorter);
}

// Whether the body of a multipart whose delimiters never occur has got what the writer ends it
// with: the closing delimiter of an empty boundary.
bool HasGainedDelimiter(const OutlinePart& before, const OutlinePart& after) {
  if (!before.mediaType.starts_with("multipart/") || !after.body.starts_with(before.body)) {
    return false;
  }
  const std::string gained = Unfolded(after.body.substr(before.body.size()));
  return Trim(gained) == "----";
}

// What stands behind the closing delimiter of a multipart, from the line end of that line on.
std::string_view Tail(const OutlinePart& multipart) {
  const char* const end = multipart.body.data() + multipart.body.size();
  const auto length = static_cast<std::size_t>(end - multipart.epilogue.data());
  const auto before = static_cast<std::size_t>(multipart.epilogue.data() - multipart.body.data());
  const std::size_t lineEnd = LineEndAtEnd(multipart.body.substr(0, before));
  return multipart.body.substr(before - lineEnd, length + lineEnd);
}

// What stands behind a closing delimiter that was not there before: its line's end, in front of
// another delimiter not even that.
std::string_view NewTail(const OutlinePart& multipart, bool isMessage) {
  const std::string_view tail = Tail(multipart);
  return isMessage ? tail.substr(0, tail.starts_with("\r\n") ? 2 : 1) : tail.substr(0, 0);
}

bool HaveSameFields(const OutlinePart& left, const OutlinePart& right) {
  return std::equal(left.fields.begin(), left.fields.end(), right.fields.begin(),
                    right.fields.end(), [](const OutlineField& one, const OutlineField& other) {
                      return one.name == other.name && SameValue(one.value, other.value);
                    });
}

void CollectPatches(const PartPair& pair, bool isMessage, std::vector<Patch>* patches) {
  const OutlinePart& before = *pair.before;
  const OutlinePart& after = *pair.after;
  const auto putBack = [patches](std::string_view place, std::string_view text) {
    if (place != text) {
      patches->push_back({place, text, {}});
    }
  };
  if (!isMessage && pair.hasOwnFields && HaveSameFields(before, after)) {
    putBack(after.header, before.header);
  }
  if (before.kind != after.kind) {
    return;
  }
  if (before.kind == OutlineKind::kEmbedded) {
    putBack(after.body, before.body);
  }
  if (before.kind == OutlineKind::kMultipart && after.isClosed) {
    putBack(Tail(after), before.isClosed ? Tail(before) : NewTail(after, isMessage));
  }
  if (before.kind == OutlineKind::kLeaf && !pair.isEdited &&
      (DiffersInFinalLineEnd(before.body, after.body) || HasGainedDelimiter(before, after))) {
    putBack(after.body, before.body);
  }
}

// The wrapper has a field of its own; the original's may say more, in a comment.
void PutBackMimeVersion(const OutlinePart& message, const OutlinePart& wrapper,
                        std::vector<Patch>* patches) {
  const OutlineField* before = FindField(message, "mime-version");
  const OutlineField* after = FindField(wrapper, "mime-version");
  if (before != nullptr && after != nullptr && before->whole != after->whole) {
    patches->push_back({after->whole, before->whole, {}});
  }
}

}  // namespace

std::optional<std::string> Repaired(const Pairing& pairing, const Outline& after,
                                    std::string_view afterText) {
  std::vector<Patch> patches;
  std::string_view embedded;  // the message that was put back last, which holds the next pairs
  for (const PartPair& pair : pairing.pairs) {
    if (LiesIn(pair.after->whole, embedded)) {
      continue;
    }
    CollectPatches(pair, &pair == pairing.pairs.data(), &patches);
    if (pair.before->kind == OutlineKind::kEmbedded && pair.after->kind == pair.before->kind) {
      embedded = pair.after->body;
    }
  }
  if (pairing.road == FooterRoad::kWrapper && !pairing.pairs.empty()) {
    PutBackMimeVersion(*pairing.pairs.front().before, after.Message(), &patches);
  }
  std::erase_if(patches,
                [afterText](const Patch& patch) { return !LiesIn(patch.place, afterText); });
  if (patches.empty()) {
    return std::nullopt;
  }
  return Patched(afterText, std::move(patches));
}

}  // namespace zevka::host
