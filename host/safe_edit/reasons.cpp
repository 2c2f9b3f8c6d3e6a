#include <zevka/safe_edit.h>

namespace zevka::host {

std::string_view ReasonName(Reason reason) {
  switch (reason) {
    case Reason::kSmimeSigned:
      return "smime-signed";
    case Reason::kSmimeOpaque:
      return "smime-opaque";
    case Reason::kSmimeEncrypted:
      return "smime-encrypted";
    case Reason::kPgpSigned:
      return "pgp-signed";
    case Reason::kPgpEncrypted:
      return "pgp-encrypted";
    case Reason::kPgpInline:
      return "pgp-inline";
    case Reason::kSignedMultipart:
      return "signed-multipart";
    case Reason::kDkim:
      return "dkim";
    case Reason::kDomainKey:
      return "domainkey";
    case Reason::kArc:
      return "arc";
    case Reason::kTooLarge:
      return "too-large";
    case Reason::kLongHeaderLine:
      return "long-header-line";
    case Reason::kTooManyParts:
      return "too-many-parts";
    case Reason::kTooDeep:
      return "too-deep";
    case Reason::kFooterMarked:
      return "footer-marked";
    case Reason::kFooterPresent:
      return "footer-present";
    case Reason::kAsWanted:
      return "as-wanted";
    case Reason::kNotAMessage:
      return "not-a-message";
    case Reason::kNoSuchPart:
      return "no-such-part";
    case Reason::kBadWish:
      return "bad-wish";
    case Reason::kRefused:
      return "refused";
    case Reason::kVerifyFailed:
      return "verify-failed";
  }
  return {};
}

bool IsGuarded(Reason reason) {
  return reason <= Reason::kArc;
}

bool IsAsWanted(Reason reason) {
  return reason == Reason::kFooterMarked || reason == Reason::kFooterPresent ||
         reason == Reason::kAsWanted;
}

}  // namespace zevka::host
