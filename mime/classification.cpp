#include "mime/classification.h"

#include <string>
#include <utility>

#include "codec/ascii.h"

namespace zevka {
namespace {

// The name of a parameter, or the earlier name when the value has no such parameter.
bool TakeName(PartState& part, std::string_view value, std::string_view parameter) {
  // KEEP(name-survives-disposition): a field without the parameter does not take the name away.
  DisplayName earlier = std::move(part.name);
  part.name = {std::nullopt, earlier.charset, earlier.offset};
  const bool found =
      ExtractName(part.name, part.decoding, part.lineEnd.firstStyle, value, parameter);
  if (!found) {
    part.name = std::move(earlier);
  }
  return found;
}

void ClassifyContentType(PartState& part, std::string_view value) {
  if (!part.kind.hasFileName) {
    TakeName(part, value, "name");
  }
  // KEEP(smime-body-whole): an S/MIME body is kept whole, so that its signature stays valid; a
  // multipart/signed is split.
  if (MatchContentType(part.signatures, value, "application/x-pkcs7-mime") ||
      MatchContentType(part.signatures, value, "application/x-pkcs7-signature")) {
    return;
  }
  if (MatchContentType(part.signatures, value, "message/rfc822")) {
    // KEEP(embedded-message-is-no-multipart): its child is not given to hosts; they get the source
    // copy.
    part.kind.isEmbeddedMessage = true;
    return;
  }
  // KEEP(any-type-splits): whatever the type says, a boundary makes a multipart.
  if (part.depth < kDepthLimit) {
    CollectBoundaries(part.boundaries, value);
    part.kind.isMultipart = !part.boundaries.candidates.empty();
  }
}

TransferEncoding ReadTransferEncoding(std::string_view value) {
  // KEEP(encoding-substring): the encoding is looked for anywhere in the value, and "7bit" is one
  // of the others.
  if (FindNoCase(value, "quoted-printable") != std::string_view::npos) {
    return TransferEncoding::kQuotedPrintable;
  }
  if (FindNoCase(value, "base64") != std::string_view::npos) {
    return TransferEncoding::kBase64;
  }
  return TransferEncoding::kOther;
}

}  // namespace

void ClassifyHeader(PartState& part, std::string_view name, std::string_view value) {
  std::string stripped;
  if (name.find('(') != std::string_view::npos) {
    stripped = StripComments(name);
    name = stripped;
  }
  if (EqualsNoCase(name, "subject")) {
    part.kind.hasSubject = true;
  } else if (EqualsNoCase(name, "content-type")) {
    ClassifyContentType(part, value);
  } else if (EqualsNoCase(name, "content-transfer-encoding")) {
    part.kind.encoding = ReadTransferEncoding(value);
  } else if (EqualsNoCase(name, "content-disposition")) {
    if (TakeName(part, value, "filename")) {
      part.kind.hasFileName = true;
    }
  } else if (EqualsNoCase(name, "x-wrongbodyencoding")) {
    part.kind.wrongBodyEncoding = true;
  } else if (IsDomainSignature(name)) {
    part.signatures.domain = true;
  }
}

}  // namespace zevka
