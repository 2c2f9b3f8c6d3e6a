#include "host/safe_edit/verify.h"

#include <algorithm>
#include <cstddef>
#include <set>

#include "host/kit/text.h"
#include "host/safe_edit/footer_marks.h"
#include "host/safe_edit/line_ends.h"
#include "host/safe_edit/transfer_decoding.h"
#include "host/safe_edit/verify_fields.h"

namespace zevka::host {

namespace {

using Difference = std::optional<ReasonNote>;

Difference Failed(const OutlinePart& part, std::string detail) {
  return ReasonNote{Reason::kVerifyFailed, part.number, std::move(detail)};
}

bool IsIdentity(std::string_view encoding) {
  return encoding != "base64" && encoding != "quoted-printable";
}

// Whether the body can be encoded anew without loss.
bool IsWhollyDecoded(const OutlinePart& part) {
  return part.encoding != "base64" || IsCleanBase64(part.body);
}

// Whether the decoded bodies are the same, without decoding what stands there unchanged.
bool SameBody(const OutlinePart& before, const OutlinePart& after) {
  const bool sameEncoding = before.encoding == after.encoding ||
                            (IsIdentity(before.encoding) && IsIdentity(after.encoding));
  return (sameEncoding && before.body == after.body) ||
         (IsWhollyDecoded(before) && DecodedBody(before) == DecodedBody(after));
}

// Whether characters of the part's text take more than one byte each, so that a footer in ASCII
// behind it is noise.
bool IsWideText(const OutlinePart& part) {
  const std::string charset = Lower(FindParameter(part, "content-type", "charset").value_or(""));
  const auto begins = [&charset](std::string_view family) { return charset.starts_with(family); };
  return begins("utf-16") || begins("utf-32") || begins("iso-10646-ucs") || begins("ucs-");
}

// The body must be the old one with nothing but the footer behind it.
Difference DifferenceOfEditedBody(const PartPair& pair, std::string_view plainFooter) {
  if (!IsWhollyDecoded(*pair.before)) {
    return Failed(*pair.before, "the text is not all base64, and would be altered");
  }
  if (IsWideText(*pair.before)) {
    return ReasonNote{Reason::kRefused, pair.before->number, "no footer fits the text's charset"};
  }
  const std::string before = DecodedBody(*pair.before);
  const std::string after = DecodedBody(*pair.after);
  if (!after.starts_with(before)) {
    return Failed(*pair.before, "the text in front of the footer is altered");
  }
  if (PlainFooter(std::string_view(after).substr(before.size())) != plainFooter) {
    return ReasonNote{Reason::kRefused, pair.before->number, "the footer was not added"};
  }
  return std::nullopt;
}

Difference DifferenceOfBody(const PartPair& pair, std::string_view plainFooter) {
  const OutlinePart& before = *pair.before;
  const OutlinePart& after = *pair.after;
  if (before.kind != after.kind || before.mediaType != after.mediaType) {
    return Failed(before, "is another kind of part");
  }
  switch (before.kind) {
    case OutlineKind::kLeaf:
      if (pair.isEdited) {
        return DifferenceOfEditedBody(pair, plainFooter);
      }
      return SameBody(before, after) ? std::nullopt : Failed(before, "the body is altered");
    case OutlineKind::kEmbedded:
      if (pair.isEdited) {
        return ReasonNote{Reason::kRefused, before.number, "the footer was not added"};
      }
      return std::nullopt;  // its message is a pair of its own
    case OutlineKind::kMultipart:
      break;
  }
  const bool isUntouched = before.whole == after.whole;  // inside an embedded message, mostly
  if (!after.isClosed && !isUntouched) {
    return Failed(before, "the closing delimiter is missing");
  }
  if (before.boundary != after.boundary) {
    return Failed(before, "the boundary is altered");
  }
  if (before.preamble != after.preamble) {
    return Failed(before, "the text in front of the first delimiter is altered");
  }
  const bool isBlank = Trim(before.epilogue).empty() && Trim(after.epilogue).empty();
  if (!isBlank && before.epilogue != after.epilogue) {
    return Failed(before, "the text behind the closing delimiter is altered");
  }
  return std::nullopt;
}

Difference DifferenceOfFieldsOf(const Pairing& pairing, const PartPair& pair, const Outline& after,
                                const AppliedEdit& edit) {
  const bool isMessage = &pair == pairing.pairs.data();
  std::string detail;
  if (!isMessage) {
    detail = DifferenceOfFields(*pair.before, *pair.after);
  } else if (pair.hasOwnFields) {
    detail = DifferenceOfMessageFields(*pair.before, *pair.after, edit);
  } else {
    detail = DifferenceOfWrappedFields(*pair.before, after.Message(), *pair.after, edit);
  }
  if (detail.empty() && pair.before->brokenLines != pair.after->brokenLines) {
    detail = "lines among the header fields are altered";
  }
  return detail.empty() ? std::nullopt : Failed(*pair.before, detail);
}

Difference DifferenceOfWrapper(const Pairing& pairing, const Outline& after) {
  const OutlinePart& wrapper = after.Message();
  if (pairing.road == FooterRoad::kWrapper &&
      (wrapper.mediaType != "multipart/mixed" || !wrapper.isClosed ||
       !Trim(wrapper.epilogue).empty())) {
    return Failed(wrapper, "the wrapper is broken");
  }
  return std::nullopt;
}

// A closing delimiter that was written for one multipart would close another of the same boundary
// for readers that begin at the outer one, and hide what follows.
Difference DifferenceOfClosing(const Pairing& pairing) {
  std::multiset<std::string_view> boundaries;
  for (const PartPair& pair : pairing.pairs) {
    if (pair.before->kind == OutlineKind::kMultipart) {
      boundaries.insert(pair.before->boundary);
    }
  }
  for (const PartPair& pair : pairing.pairs) {
    if (!pair.before->isClosed && pair.after->isClosed &&
        boundaries.count(pair.before->boundary) > 1) {
      return Failed(*pair.before, "cannot be closed: it shares its boundary");
    }
  }
  return std::nullopt;
}

// Whether what was asked for is there.
Difference MissingWish(const Pairing& pairing, const Outline& after, const AppliedEdit& edit) {
  if (const std::string name = MissingField(after.Message(), edit); !name.empty()) {
    std::string detail = "the field was not set: ";
    return ReasonNote{Reason::kRefused, "", detail += Printable(name)};
  }
  const bool isOwnPart = pairing.road == FooterRoad::kChild || pairing.road == FooterRoad::kWrapper;
  if (isOwnPart &&
      (pairing.footerPart == nullptr || pairing.footerPart->mediaType != "text/plain" ||
       PlainFooter(DecodedBody(*pairing.footerPart)) != edit.plainFooter)) {
    return ReasonNote{Reason::kRefused, "", "the footer was not added"};
  }
  return std::nullopt;
}

}  // namespace

std::optional<ReasonNote> FindDifference(const Pairing& pairing, const Outline& after,
                                         std::string_view afterText, const AppliedEdit& edit) {
  if (after.Exceeded() != OutlineLimit::kNone) {
    return Failed(after.Message(), "the result has too many parts");
  }
  if (Difference missing = MissingWish(pairing, after, edit)) {
    return missing;
  }
  if (!pairing.unpaired.empty()) {
    return Failed(*pairing.unpaired.front(), "has other parts than before");
  }
  if (Difference broken = DifferenceOfWrapper(pairing, after)) {
    return broken;
  }
  if (Difference closed = DifferenceOfClosing(pairing)) {
    return closed;
  }
  for (const PartPair& pair : pairing.pairs) {
    if (Difference difference = DifferenceOfFieldsOf(pairing, pair, after, edit)) {
      return difference;
    }
    if (Difference difference = DifferenceOfBody(pair, edit.plainFooter)) {
      return difference;
    }
  }
  if (!HasOneLineEnd(afterText)) {
    return Failed(after.Message(), "the line ends are not of one kind");
  }
  return std::nullopt;
}

}  // namespace zevka::host
