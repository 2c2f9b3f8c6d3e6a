#include "mime/set_header.h"

#include <algorithm>
#include <string>

#include "codec/ascii.h"

namespace zevka {
namespace {

bool IsFieldName(std::string_view name) {
  return !name.empty() &&
         std::all_of(name.begin(), name.end(), [](char c) { return IsAlnum(c) || c == '-'; });
}

TransferEncoding EncodingSetByHost(std::string_view value) {
  if (EqualsNoCase(value, "quoted-printable")) {
    return TransferEncoding::kQuotedPrintable;
  }
  if (EqualsNoCase(value, "base64")) {
    return TransferEncoding::kBase64;
  }
  return EqualsNoCase(value, "7bit") ? TransferEncoding::kNone : TransferEncoding::kOther;
}

// KEEP(above-first-signature): where new fields go, so that no signature covers or loses one.
HeaderList::iterator FirstSignature(HeaderList& headers) {
  return std::find_if(headers.begin(), headers.end(),
                      [](const HeaderNode& field) { return IsDomainSignature(field.name); });
}

void NoteSubject(PartState& part, std::string_view name) {
  if (EqualsNoCase(name, "subject")) {
    part.kind.hasSubject = true;
  }
}

// Whether the field exists; it gets the value unless it stands below a signature.
bool ReplaceField(PartState& part, std::string_view name, std::string_view value) {
  bool belowSignature = false;
  for (HeaderNode& field : part.headers) {
    if (!EqualsNoCase(field.name, name)) {
      belowSignature = belowSignature || IsDomainSignature(field.name);
      continue;
    }
    // KEEP(below-signature): a field below a signature is covered by it; the host is told that all
    // is well.
    if (belowSignature) {
      return true;
    }
    // KEEP(boundary-stays): a new boundary is text only; the delimiters are those that were read.
    field.value = std::string(value);
    field.segments.clear();
    field.source = {};
    if (EqualsNoCase(name, "content-transfer-encoding")) {
      part.kind.encoding = EncodingSetByHost(value);
    }
    NoteSubject(part, name);
    return true;
  }
  return false;
}

}  // namespace

// KEEP(set-header-does-not-modify): the bodies are copied as they are.
bool SetHeaderField(PartState& part, std::string_view name, std::string_view value, bool replace) {
  if (value.empty() || !IsFieldName(name)) {
    return false;
  }
  part.sizes.Cover(name.size(), value.size());
  if (replace && ReplaceField(part, name, value)) {
    return true;
  }
  // KEEP(add-keeps-encoding): an added Content-Transfer-Encoding says nothing about the body that
  // is there.
  part.headers.insert(FirstSignature(part.headers),
                      HeaderNode{std::string(name), std::string(value), {}});
  NoteSubject(part, name);
  return true;
}

}  // namespace zevka
