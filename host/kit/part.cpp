#include <zevka/host.h>

#include <algorithm>
#include <utility>

#include "host/kit/field_text.h"
#include "host/kit/message_state.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kNameRoom = 513;
constexpr std::size_t kWideNameRoom = 512;
constexpr std::size_t kSourcePathRoom = 512;
constexpr std::string_view kNoName = "body";  // what a part without a name says
constexpr std::wstring_view kNoConversion = L"(conversion-error)";  // what an unknown text becomes
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
  if (!body.empty()) {
    body.resize((part.*read)(body.data(), body.size(), 0));
  }
  return body;
}

}  // namespace

std::vector<HeaderField> Part::Fields() const {
  std::vector<HeaderField> fields;
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part_->RewindHeaders();
  part_->GetHeaderSizes(&nameSize, &valueSize);
  // Padded to exactly these sizes; the byte more ends a text that fills its buffer.
  std::string name(std::size_t{nameSize} + 1, '\0');
  std::string value(std::size_t{valueSize} + 1, '\0');
  while (part_->NextHeader(name.data(), value.data()) == 1) {
    fields.push_back({name.c_str(), value.c_str()});
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
  if (mode == kReplace && StandsBelowSignature(Fields(), name)) {
    throw Failure("the field stands below a signature");
  }
  // "Content-Type" is written as it is, so the blank behind the colon is given to all.
  std::string given = " ";
  given += Trim(value);
  if (part_->SetHeader(name.c_str(), given.c_str(), mode) != 1) {
    throw Failure("the field was refused");
  }
}

void Part::SetField(const std::string& name, const std::string& value) {
  Set(name, value, kReplace);
}

void Part::AddField(const std::string& name, const std::string& value) {
  Set(name, value, kAdd);
}

std::string Part::MediaType() const {
  return MediaTypeInValue(Field("content-type").value_or(""));
}

std::string Part::Encoding() const {
  return EncodingInValue(Field("content-transfer-encoding").value_or(""));
}

std::string Part::Name() const {
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part_->RewindHeaders();
  part_->GetHeaderSizes(&nameSize, &valueSize);
  std::string buffer(kNameRoom + valueSize, '\0');
  part_->GetName(buffer.data());
  std::string name = UpToNul(buffer);
  if (name == kNoName) {
    return {};
  }
  if (IsPrintableAscii(name)) {
    return name;
  }
  std::wstring wide(kWideNameRoom + 1, L'\0');
  std::string converted;
  if (part_->GetNameW(wide.data()) == 1) {
    wide.resize(wide.find(L'\0'));
    if (wide != kNoConversion && FromWide(wide, &converted)) {
      return converted;
    }
  }
  return name;
}

std::vector<Part> Part::Children() const {
  std::vector<Part> children;
  if (part_->RewindChildren() == 1) {
    PartObject* child = nullptr;
    while (part_->NextChild(&child) == 1) {
      const std::vector<const PartObject*>& removed = message_->removed;
      if (std::find(removed.begin(), removed.end(), child) == removed.end()) {
        children.push_back(Part(*message_, child));
      }
    }
  }
  return children;
}

bool Part::IsMultipart() const {
  return part_->RewindChildren() == 1;
}

std::optional<std::string> Part::EmbeddedText() const {
  std::string path(kSourcePathRoom + 1, '\0');
  if (message_->packer.Raw().QueryControl(kQuerySourceFile, part_, path.data()) != 1) {
    return std::nullopt;
  }
  return message_->packer.Files().Read(UpToNul(path));
}

std::string Part::Body() const {
  return WholeBody(*part_, &CMIMEPacker::ReadDecodedBody);
}

std::uint64_t Part::BodySizeBytes() const {
  return part_->ReadDecodedBody(nullptr, 0, 0);
}

void Part::ReadBody(const ChunkReader& reader, std::size_t chunkBytes) const {
  std::string chunk(std::max<std::size_t>(chunkBytes, 1), '\0');
  std::int64_t offset = 0;
  for (;;) {
    const std::uint64_t count = part_->ReadDecodedBody(chunk.data(), chunk.size(), offset);
    if (count == 0) {
      return;
    }
    reader(std::string_view(chunk).substr(0, count));
    offset += static_cast<std::int64_t>(count);
  }
}

std::string Part::EncodedBody() const {
  return WholeBody(*part_, &CMIMEPacker::ReadEncodedBody);
}

void Part::SetBody(std::string_view bytes) {
  if (part_->WriteDecodedBody(bytes.data(), bytes.size()) != bytes.size()) {
    throw Failure("the body was not taken");
  }
}

void Part::Remove() {
  if (part_ == message_->root) {
    throw Failure("the message itself cannot be removed");
  }
  part_->RemovePart();
  message_->removed.push_back(part_);
}

}  // namespace zevka::host
