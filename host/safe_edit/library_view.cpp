#include "host/safe_edit/library_view.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/kit/field_text.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

using Named = std::pair<std::string_view, Reason>;

constexpr std::array<Named, 5> kTransportFields = {{
    {"dkim-signature", Reason::kDkim},
    {"domainkey-signature", Reason::kDomainKey},
    {"arc-seal", Reason::kArc},
    {"arc-message-signature", Reason::kArc},
    {"arc-authentication-results", Reason::kArc},
}};

constexpr std::array<Named, 8> kTypes = {{
    {"application/pkcs7-signature", Reason::kSmimeSigned},
    {"application/x-pkcs7-signature", Reason::kSmimeSigned},
    {"application/pkcs7-", Reason::kSmimeEncrypted},
    {"application/x-pkcs7-", Reason::kSmimeEncrypted},
    {"application/pgp-encrypted", Reason::kPgpEncrypted},
    {"application/pgp-signature", Reason::kPgpSigned},
    {"multipart/signed", Reason::kSignedMultipart},
    {"multipart/encrypted", Reason::kSignedMultipart},
}};

std::optional<Reason> ReasonOf(const HeaderField& field, bool transportSignatures) {
  const std::string name = Lower(field.name);
  if (transportSignatures) {
    for (const auto& [fieldName, reason] : kTransportFields) {
      if (name == fieldName) {
        return reason;
      }
    }
  }
  if (name == "content-type") {
    const std::string type = MediaTypeInValue(field.value);
    for (const auto& [beginning, reason] : kTypes) {
      if (type.starts_with(beginning)) {
        return reason;
      }
    }
  }
  return std::nullopt;
}

void Collect(const Part& part, const std::string& number, bool transportSignatures,
             std::vector<ReasonNote>* notes) {
  for (const HeaderField& field : part.Fields()) {
    if (const std::optional<Reason> reason = ReasonOf(field, transportSignatures)) {
      notes->push_back({*reason, number, "seen by the library"});
    }
  }
  const std::vector<Part> children = part.Children();
  for (std::size_t index = 0; index < children.size(); ++index) {
    std::string childNumber = number;
    childNumber += number.empty() ? "" : ".";
    childNumber += std::to_string(index + 1);
    Collect(children[index], childNumber, transportSignatures, notes);
  }
}

}  // namespace

std::vector<ReasonNote> GuardedByLibrary(const Message& message, bool transportSignatures) {
  std::vector<ReasonNote> notes;
  Collect(message.Root(), "", transportSignatures, &notes);
  if (notes.empty() && message.IsSigned()) {
    notes.push_back({Reason::kSignedMultipart, "", "signed, says the library"});
  }
  return notes;
}

}  // namespace zevka::host
