#include "host/safe_edit/guard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/guard_types.h"
#include "host/safe_edit/lines.h"
#include "host/safe_edit/outline_fields.h"
#include "host/safe_edit/pgp_text.h"
#include "host/safe_edit/preparation.h"

namespace zevka::host {

namespace {

struct SignatureField {
  std::string_view lowerName;
  Reason reason;
};
constexpr std::array<SignatureField, 5> kSignatureFields = {{
    {"dkim-signature", Reason::kDkim},
    {"domainkey-signature", Reason::kDomainKey},
    {"arc-seal", Reason::kArc},
    {"arc-message-signature", Reason::kArc},
    {"arc-authentication-results", Reason::kArc},
}};

// Part of a claim that a message makes, for people.
std::string DetailOf(std::string_view claim) {
  constexpr std::size_t kMostBytes = 100;
  return Printable(claim.substr(0, kMostBytes));
}

void AddFieldFindings(const OutlinePart& part, std::vector<Finding>* findings) {
  for (const OutlineField& field : part.fields) {
    for (const SignatureField& known : kSignatureFields) {
      if (EqualsLower(field.name, known.lowerName)) {
        findings->push_back({known.reason, std::string(field.name)});
      }
    }
  }
}

// Whether an OpenPGP message stands in what a reader shows of the part: in a text, or in what
// surrounds the children of a multipart. Bodies that are no text are not even decoded.
bool ShowsPgpMessage(const OutlinePart& part, const TypeClaims& claims) {
  if (part.kind == OutlineKind::kMultipart) {
    return HoldsPgpMessage(part.preamble) || HoldsPgpMessage(part.epilogue);
  }
  const bool isShown = HasTypePrefix(claims, "text/") || HasTypePrefix(claims, "multipart/") ||
                       HasTypePrefix(claims, "message/");
  if (part.kind != OutlineKind::kLeaf || !isShown) {
    return false;
  }
  const TextKind kind = HasType(claims, "text/html") ? TextKind::kHtml : TextKind::kPlain;
  return HoldsPgpMessage(part.body, kind) ||
         (IsTransferEncoded(part) && HoldsPgpMessage(DecodedBody(part), kind));
}

bool HasReason(const std::vector<ReasonNote>& notes, Reason reason) {
  return std::any_of(notes.begin(), notes.end(),
                     [reason](const ReasonNote& note) { return note.reason == reason; });
}

// Adds the notes whose reasons are not there yet.
void AddNew(std::vector<ReasonNote> more, std::vector<ReasonNote>* notes) {
  const std::size_t before = notes->size();
  for (ReasonNote& note : more) {
    const bool isThere =
        std::any_of(notes->begin(), notes->begin() + static_cast<std::ptrdiff_t>(before),
                    [&note](const ReasonNote& old) { return old.reason == note.reason; });
    if (!isThere) {
      notes->push_back(std::move(note));
    }
  }
}

// The notes of a single part.
//   covered  what the signed multipart around the part says
std::vector<ReasonNote> NotesOf(const OutlinePart& part, const std::vector<Finding>& findings,
                                std::optional<Reason> covered) {
  std::vector<ReasonNote> notes;
  for (const Finding& finding : findings) {
    if (finding.reason != covered && !HasReason(notes, finding.reason)) {
      notes.push_back({finding.reason, part.number, DetailOf(finding.detail)});
    }
  }
  return notes;
}

// Whether another reader could see another message in the text.
bool IsDoubtful(const Outline& outline) {
  if (outline.Message().whole.starts_with('\r') || outline.Message().whole.starts_with('\n')) {
    return true;
  }
  const std::vector<const OutlinePart*> parts = outline.AllParts();
  return std::any_of(parts.begin(), parts.end(), [](const OutlinePart* part) {
    const auto isType = [](const OutlineField& field) {
      return EqualsLower(field.name, "content-type");
    };
    const OutlineField* type = FindField(*part, "content-type");
    if (type == nullptr) {
      return !part->brokenLines.empty();
    }
    const std::vector<OutlineParameter> parameters = Parameters(type->value);
    const auto isBoundary = [](const OutlineParameter& parameter) {
      return parameter.name.starts_with("boundary");
    };
    return !part->brokenLines.empty() || part->decodedText != nullptr ||
           std::count_if(part->fields.begin(), part->fields.end(), isType) > 1 ||
           std::count_if(parameters.begin(), parameters.end(), isBoundary) > 1;
  });
}

std::string LimitDetail(std::size_t found, std::string_view unit, std::size_t limit) {
  std::string detail;
  if (found > 0) {
    detail += std::to_string(found);
    detail += ' ';
    detail += unit;
    detail += ", ";
  }
  detail += "the limit is ";
  return detail += std::to_string(limit);
}

// The first physical line of a header block that is too long.
std::optional<ReasonNote> LongHeaderLine(const Outline& outline, std::size_t mostBytes) {
  for (const OutlinePart* part : outline.AllParts()) {
    Lines lines(part->header);
    Line line;
    while (lines.Next(&line)) {
      if (line.end - line.begin > mostBytes) {
        return ReasonNote{Reason::kLongHeaderLine, part->number,
                          LimitDetail(line.end - line.begin, "bytes", mostBytes)};
      }
    }
  }
  return std::nullopt;
}

struct GuardVisit {
  const OutlinePart* part = nullptr;
  std::optional<Reason> covered;
};

}  // namespace

OutlineLimits OutlineLimitsOf(const EditLimits& limits) {
  OutlineLimits result;
  result.mostParts = limits.mostParts;
  result.mostDepth = limits.mostDepth;
  return result;
}

std::vector<ReasonNote> FindGuarded(const Outline& outline, bool transportSignatures) {
  std::vector<ReasonNote> notes;
  std::vector<GuardVisit> visits = {{&outline.Message(), std::nullopt}};
  while (!visits.empty()) {
    const GuardVisit visit = visits.back();
    visits.pop_back();
    const OutlinePart& part = *visit.part;
    const TypeClaims claims = ClaimsOf(part);
    std::vector<Finding> findings;
    std::optional<Reason> covered;
    if (std::optional<Finding> multipart = SignedMultipartFinding(part, claims)) {
      covered = multipart->reason;
      findings.push_back(std::move(*multipart));
    }
    for (Finding& finding : TypeFindings(claims)) {
      findings.push_back(std::move(finding));
    }
    if (ShowsPgpMessage(part, claims)) {
      findings.push_back({Reason::kPgpInline, {}});
    }
    if (transportSignatures) {
      AddFieldFindings(part, &findings);
    }
    for (ReasonNote& note : NotesOf(part, findings, visit.covered)) {
      notes.push_back(std::move(note));
    }
    for (auto child = part.children.rbegin(); child != part.children.rend(); ++child) {
      visits.push_back({&*child, covered});
    }
  }
  return notes;
}

std::vector<ReasonNote> FindGuardedInAnyWay(std::string_view text, const Outline& usual,
                                            const EditOptions& options) {
  std::vector<ReasonNote> notes = FindGuarded(usual, options.guardTransportSignatures);
  if (IsDoubtful(usual)) {
    const Outline other = Outline::Read(text, OutlineLimitsOf(options.limits), OutlineWay::kOther);
    AddNew(LimitReasons(text, other, options.limits), &notes);
    AddNew(FindGuarded(other, options.guardTransportSignatures), &notes);
  }
  return notes;
}

std::vector<ReasonNote> LimitReasons(std::string_view text, const Outline& outline,
                                     const EditLimits& limits) {
  std::vector<ReasonNote> notes;
  if (text.size() > limits.mostBytes) {
    notes.push_back({Reason::kTooLarge, {}, LimitDetail(text.size(), "bytes", limits.mostBytes)});
  }
  if (outline.Exceeded() == OutlineLimit::kParts) {
    notes.push_back({Reason::kTooManyParts, {}, LimitDetail(0, {}, limits.mostParts)});
  }
  if (outline.Exceeded() == OutlineLimit::kDepth) {
    notes.push_back({Reason::kTooDeep, {}, LimitDetail(0, {}, limits.mostDepth)});
  }
  if (std::optional<ReasonNote> note = LongHeaderLine(outline, limits.mostHeaderLineBytes)) {
    notes.push_back(std::move(*note));
  }
  return notes;
}

std::vector<ReasonNote> GuardReasons(std::string_view message, const EditOptions& options) {
  const EditLimits& limits = options.limits;
  message.remove_prefix(BytesInFront(message));
  if (message.size() > limits.mostBytes) {
    return LimitReasons(message, Outline(), limits);
  }
  const Outline outline = Outline::Read(message, OutlineLimitsOf(limits));
  std::vector<ReasonNote> notes = LimitReasons(message, outline, limits);
  AddNew(FindGuardedInAnyWay(message, outline, options), &notes);
  return notes;
}

}  // namespace zevka::host
