#include <zevka/host.h>

#include <algorithm>
#include <array>
#include <utility>

#include "host/kit/field_text.h"
#include "host/kit/message_state.h"
#include "host/kit/part_names.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kNameRoom = 513;
constexpr std::size_t kWideNameRoom = 512;
constexpr std::size_t kSourcePathRoom = 512;
constexpr std::string_view kNoName = "body";  // what a part without a name says
constexpr std::wstring_view kNoConversion = L"(conversion-error)";  // what an unknown text becomes
constexpr std::size_t kMostChildren = 1000;  // the names of more are cut and no longer differ
constexpr int kAdd = 0;
constexpr int kReplace = 1;

std::string UpToNul(const std::string& buffer) {
  return buffer.substr(0, buffer.find('\0'));
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return character >= ' ' && character <= '~'; });
}

// The library leaves such a field alone, and says that it was set.
bool StandsBelowSignature(const std::vector<HeaderField>& fields, std::string_view name) {
  const std::string lowerName = Lower(name);
  bool signature = false;
  for (const HeaderField& field : fields) {
    const std::string lower = Lower(field.name);
    if (lower == lowerName) {
      return signature;
    }
    signature = signature || lower == "dkim-signature" || lower == "domainkey-signature";
  }
  return false;
}

using ReadSlot = std::uint64_t (CMIMEPacker::*)(void*, std::uint64_t, std::int64_t);

std::string WholeBody(PartObject& part, ReadSlot read) {
  std::string body((part.*read)(nullptr, 0, 0), '\0');
  if (!body.empty() && (part.*read)(body.data(), body.size(), 0) != body.size()) {
    throw Failure("the body cannot be read to its end");
  }
  return body;
}

// Whether the name of a field is this one.
//   lowerName  in lower case
bool IsNamed(const std::string& name, std::string_view lowerName) {
  return Lower(name) == lowerName;
}

bool IsMultipartType(std::string_view contentType) {
  return MediaTypeInValue(contentType).starts_with("multipart/");
}

bool IsEncodingName(std::string_view value) {
  constexpr std::array<std::string_view, 5> kEncodings = {"7bit", "8bit", "binary", "base64",
                                                          "quoted-printable"};
  return std::find(kEncodings.begin(), kEncodings.end(), Lower(value)) != kEncodings.end();
}

}  // namespace

Part::Part(std::shared_ptr<MessageState> message, PartObject* part)
    : message_(std::move(message)), part_(part) {}

PartObject& Part::Raw() const {
  if (message_ == nullptr) {
    throw Failure("the part was moved from");
  }
  message_->NeedOpen();
  return *part_;
}

std::vector<HeaderField> Part::Fields() const {
  PartObject& part = Raw();
  std::vector<HeaderField> fields;
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  if (part.RewindHeaders() != 1) {
    throw Failure("the fields cannot be read");
  }
  part.GetHeaderSizes(&nameSize, &valueSize);
  // Padded to exactly these sizes; the byte more ends a text that fills its buffer.
  std::string name(std::size_t{nameSize} + 1, '\0');
  std::string value(std::size_t{valueSize} + 1, '\0');
  while (part.NextHeader(name.data(), value.data()) == 1) {
    fields.push_back({UpToNul(name), UpToNul(value)});
  }
  return fields;
}

std::optional<std::string> Part::Field(std::string_view name) const {
  const std::string lowerName = Lower(name);
  for (const HeaderField& field : Fields()) {
    if (Lower(field.name) == lowerName) {
      return std::string(Trim(field.value));
    }
  }
  return std::nullopt;
}

void Part::Set(const std::string& name, const std::string& value, int mode) {
  if (!IsFieldName(name)) {
    throw Failure("no name of a field (letters, digits and '-')");
  }
  if (!IsFieldValue(value)) {
    throw Failure("the value is empty or no line of text in UTF-8");
  }
  const bool isType = IsNamed(name, "content-type");
  if (isType && !IsPrintableAscii(Trim(value))) {
    throw Failure("a media type is ASCII");
  }
  if (isType && (IsMultipart() || IsMultipartType(value))) {
    throw Failure("the delimiters of a multipart do not follow its field");
  }
  if (mode == kReplace && StandsBelowSignature(Fields(), name)) {
    throw Failure("the field stands below a signature");
  }
  // "Content-Type" is written as it is, so it gets the blank behind the colon here.
  std::string given = isType ? " " : "";
  given += Trim(value);
  if (Raw().SetHeader(name.c_str(), given.c_str(), mode) != 1) {
    throw Failure("the field was refused");
  }
}

// The library takes a new encoding for the body only where it replaces a field, and leaves the body
// as it was encoded before unless it is marked; what it is to encode must be decoded first.
void Part::SetEncoding(const std::string& value) {
  const std::string encoding(Trim(value));
  if (!IsEncodingName(encoding)) {
    throw Failure("no transfer encoding");
  }
  if (IsMultipart() || IsEmbedded()) {
    throw Failure("a part that holds others is not encoded");
  }
  Raw().ReadDecodedBody(nullptr, 0, 0);
  Set("Content-Transfer-Encoding", encoding, kReplace);
  Set("Content-Transfer-Encoding", encoding, kReplace);
  Raw().SetModified();
}

void Part::SetField(const std::string& name, const std::string& value) {
  if (IsNamed(name, "content-transfer-encoding")) {
    SetEncoding(value);
  } else {
    Set(name, value, kReplace);
  }
}

void Part::AddField(const std::string& name, const std::string& value) {
  if (IsNamed(name, "content-transfer-encoding")) {
    throw Failure("the transfer encoding can only be set");
  }
  Set(name, value, kAdd);
}

std::string Part::MediaType() const {
  return MediaTypeInValue(Field("content-type").value_or(""));
}

std::string Part::Encoding() const {
  return EncodingInValue(Field("content-transfer-encoding").value_or(""));
}

// The name as the library reads it; empty when there is none.
std::string Part::PlainName() const {
  PartObject& part = Raw();
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part.GetHeaderSizes(&nameSize, &valueSize);
  std::string buffer(kNameRoom + valueSize, '\0');
  part.GetName(buffer.data());
  std::string name = UpToNul(buffer);
  // For an extended name the library gives the raw text behind "filename".
  if (name == kNoName || name.starts_with('*')) {
    return {};
  }
  if (IsPrintableAscii(name)) {
    return name;
  }
  std::wstring wide(kWideNameRoom + 1, L'\0');
  std::string converted;
  if (part.GetNameW(wide.data()) == 1) {
    wide.resize(wide.find(L'\0'));
    if (wide != kNoConversion && FromWide(wide, &converted)) {
      return converted;
    }
  }
  return name;
}

std::string Part::Name() const {
  std::string name = PlainName();
  if (!name.empty()) {
    return name;
  }
  std::vector<std::string> names = NamesInFields(Fields());
  return names.empty() ? std::string() : std::move(names.front());
}

std::vector<std::string> Part::Names() const {
  std::vector<std::string> names = NamesInFields(Fields());
  // The library also takes words of unknown charsets apart.
  const bool isWhole = std::none_of(names.begin(), names.end(), [](const std::string& name) {
    return name.find("=?") != std::string::npos;
  });
  if (names.empty() || !isWhole) {
    std::string name = PlainName();
    if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
      names.push_back(std::move(name));
    }
  }
  return names;
}

std::vector<Part> Part::Children() const {
  PartObject& part = Raw();
  std::vector<Part> children;
  const std::vector<const PartObject*>& removed = message_->removed;
  if (part.RewindChildren() == 1) {
    PartObject* child = nullptr;
    for (std::size_t count = 1; part.NextChild(&child) == 1; ++count) {
      if (count > kMostChildren) {
        throw Failure("a multipart has more than 1000 parts");
      }
      if (std::find(removed.begin(), removed.end(), child) == removed.end()) {
        children.push_back(Part(message_, child));
      }
    }
  }
  return children;
}

bool Part::IsMultipart() const {
  return Raw().RewindChildren() == 1;
}

// The type is asked first: asking for the text writes it to disk.
bool Part::IsEmbedded() const {
  return MediaType() == "message/rfc822" && EmbeddedText().has_value();
}

std::optional<std::string> Part::EmbeddedText() const {
  PartObject& part = Raw();
  std::string path(kSourcePathRoom + 1, '\0');
  if (message_->packer.Raw().QueryControl(kQuerySourceFile, &part, path.data()) != 1) {
    return std::nullopt;
  }
  return message_->packer.Files().Read(UpToNul(path));
}

std::string Part::Body() const {
  return WholeBody(Raw(), &CMIMEPacker::ReadDecodedBody);
}

std::uint64_t Part::BodySizeBytes() const {
  return Raw().ReadDecodedBody(nullptr, 0, 0);
}

void Part::ReadBody(const ChunkReader& reader, std::size_t chunkBytes) const {
  PartObject& part = Raw();
  std::uint64_t left = part.ReadDecodedBody(nullptr, 0, 0);
  const std::uint64_t most = std::max<std::uint64_t>(chunkBytes, 1);
  std::string chunk(std::min(most, left), '\0');
  std::int64_t offset = 0;
  while (left > 0) {
    const std::uint64_t count = Raw().ReadDecodedBody(chunk.data(), std::min(left, most), offset);
    if (count == 0) {
      throw Failure("the body cannot be read to its end");
    }
    reader(std::string_view(chunk).substr(0, count));
    offset += static_cast<std::int64_t>(count);
    left -= count;
  }
}

std::string Part::EncodedBody() const {
  return WholeBody(Raw(), &CMIMEPacker::ReadEncodedBody);
}

void Part::SetBody(std::string_view bytes) {
  PartObject& part = Raw();
  if (IsMultipart() || IsEmbedded()) {
    throw Failure("a part that holds others has no body of its own");
  }
  if (part.WriteDecodedBody(bytes.data(), bytes.size()) != bytes.size()) {
    throw Failure("the body was not taken");
  }
}

void Part::Remove() {
  PartObject& part = Raw();
  if (&part == message_->root) {
    throw Failure("the message itself cannot be removed");
  }
  message_->removed.push_back(&part);
  part.RemovePart();
}

}  // namespace zevka::host
