#include "host/kit/part_reading.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kNameRoom = 513;
constexpr std::size_t kWideNameRoom = 512;
constexpr std::size_t kSourcePathRoom = 512;
constexpr std::size_t kReadBytes = 65536;
constexpr std::string_view kNoName = "body";  // what a part without a name says
constexpr std::wstring_view kNoConversion = L"(conversion-error)";  // what an unknown text becomes

std::string UpToNul(const std::string& buffer) {
  return buffer.substr(0, buffer.find('\0'));
}

// The text without its comments, which may nest and hold quoted parentheses.
std::string WithoutComments(std::string_view text) {
  std::string result;
  int depth = 0;
  bool quoted = false;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char character = text[index];
    if (character == '\\' && (quoted || depth > 0) && index + 1 < text.size()) {
      ++index;
      continue;
    }
    if (character == '"' && depth == 0) {
      quoted = !quoted;
    }
    if (character == '(' && !quoted) {
      ++depth;
    } else if (character == ')' && depth > 0) {
      --depth;
    } else if (depth == 0) {
      result += character;
    }
  }
  return result;
}

// The first word of a value, in lower case, up to a semicolon, with no blanks inside.
std::string Token(std::string_view value) {
  std::string token = Lower(WithoutComments(value));
  token.resize(std::min(token.find(';'), token.size()));
  std::erase_if(token, [](char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
  });
  return token;
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return character >= ' ' && character <= '~'; });
}

// The contents of a file that the library names, which may be in memory or on disk.
std::string ReadThroughLibrary(const FileOperations& files, const std::string& path) {
  const std::unique_ptr<void, int (*)(void*)> file(files.open(path.c_str(), "rb"), files.close);
  if (file == nullptr) {
    throw Failure("an embedded message cannot be read");
  }
  std::string bytes;
  std::array<char, kReadBytes> block{};
  for (;;) {
    const std::size_t count = files.read(block.data(), 1, block.size(), file.get());
    if (count == 0) {
      return bytes;
    }
    bytes.append(block.data(), count);
  }
}

void CollectLeaves(Packer& packer, PartObject& part, const std::string& number,
                   std::vector<Leaf>* leaves) {
  const std::vector<PartObject*> children = Children(part);
  for (std::size_t index = 0; index < children.size(); ++index) {
    CollectLeaves(packer, *children[index], ChildNumber(number, index), leaves);
  }
  if (!children.empty()) {
    return;
  }
  Leaf leaf;
  leaf.number = number.empty() ? "1" : number;
  leaf.mediaType = MediaType(Fields(part));
  leaf.name = DisplayName(part);
  std::optional<std::string> embedded = EmbeddedText(packer, part);
  leaf.isEmbedded = embedded.has_value();
  leaf.body = embedded ? *std::move(embedded) : DecodedBody(part);
  leaves->push_back(std::move(leaf));
}

// Does the value name one of the S/MIME types, alone or as the protocol of a multipart?
bool NamesSmime(std::string_view lowerValue) {
  for (const std::string_view type : {"application/pkcs7-", "application/x-pkcs7-"}) {
    if (lowerValue.find(type) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

std::string SignedContent(const std::string& type, const std::string& lowerValue) {
  if (NamesSmime(lowerValue)) {
    return "S/MIME";
  }
  if (type == "multipart/signed") {
    return lowerValue.find("application/pgp-") != std::string::npos ? "OpenPGP"
                                                                    : "multipart/signed";
  }
  return {};
}

}  // namespace

std::vector<Field> Fields(PartObject& part) {
  std::vector<Field> fields;
  part.RewindHeaders();
  for (;;) {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    part.GetHeaderSizes(&nameSize, &valueSize);
    std::string name(std::size_t{nameSize} + 1, '\0');
    std::string value(std::size_t{valueSize} + 1, '\0');
    if (part.NextHeader(name.data(), value.data()) != 1) {
      return fields;
    }
    fields.push_back({UpToNul(name), UpToNul(value)});
  }
}

std::optional<std::string> FieldValue(const std::vector<Field>& fields,
                                      std::string_view lowerName) {
  for (const Field& field : fields) {
    if (Lower(field.name) == lowerName) {
      return std::string(Trim(field.value));
    }
  }
  return std::nullopt;
}

std::string MediaType(const std::vector<Field>& fields) {
  const std::string type = Token(FieldValue(fields, "content-type").value_or(""));
  return type.find('/') == std::string::npos ? "text/plain" : type;
}

std::string EncodingName(const std::vector<Field>& fields) {
  const std::string encoding = Token(FieldValue(fields, "content-transfer-encoding").value_or(""));
  return encoding.empty() ? "7bit" : encoding;
}

std::vector<PartObject*> Children(PartObject& part) {
  std::vector<PartObject*> children;
  if (part.RewindChildren() == 1) {
    PartObject* child = nullptr;
    while (part.NextChild(&child) == 1) {
      children.push_back(child);
    }
  }
  return children;
}

std::string DecodedBody(PartObject& part) {
  std::string body(DecodedSizeBytes(part), '\0');
  if (!body.empty()) {
    body.resize(part.ReadDecodedBody(body.data(), body.size(), 0));
  }
  return body;
}

std::uint64_t DecodedSizeBytes(PartObject& part) {
  return part.ReadDecodedBody(nullptr, 0, 0);
}

std::string DisplayName(PartObject& part) {
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part.RewindHeaders();
  part.GetHeaderSizes(&nameSize, &valueSize);
  std::string buffer(kNameRoom + valueSize, '\0');
  part.GetName(buffer.data());
  std::string name = UpToNul(buffer);
  if (name == kNoName) {
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

std::string LineEndName(PartObject& message) {
  std::string lineEnd(2, '\0');
  message.NextHeader(nullptr, lineEnd.data());
  if (lineEnd == "\r\n") {
    return "CR LF";
  }
  return lineEnd[0] == '\r' ? "CR" : "LF";
}

std::optional<std::string> EmbeddedText(Packer& packer, PartObject& part) {
  std::string path(kSourcePathRoom + 1, '\0');
  if (packer->QueryControl(kQuerySourceFile, &part, path.data()) != 1) {
    return std::nullopt;
  }
  return ReadThroughLibrary(packer.Files(), UpToNul(path));
}

std::string SignatureKinds(Packer& packer, PartObject& message) {
  const std::vector<Field> fields = Fields(message);
  std::vector<std::string> kinds;
  if (FieldValue(fields, "dkim-signature")) {
    kinds.emplace_back("DKIM");
  }
  if (FieldValue(fields, "domainkey-signature")) {
    kinds.emplace_back("DomainKey");
  }
  const std::string content = Lower(FieldValue(fields, "content-type").value_or(""));
  if (const std::string kind = SignedContent(MediaType(fields), content); !kind.empty()) {
    kinds.push_back(kind);
  }
  if (kinds.empty() && packer->QueryControl(kQuerySigned, &message) == 1) {
    kinds.emplace_back("a part of it");
  }
  std::string text;
  for (const std::string& kind : kinds) {
    text += (text.empty() ? "" : ", ") + kind;
  }
  return text;
}

std::vector<Leaf> Leaves(Packer& packer, PartObject& message) {
  std::vector<Leaf> leaves;
  CollectLeaves(packer, message, "", &leaves);
  return leaves;
}

std::string ChildNumber(const std::string& parent, std::size_t index) {
  return (parent.empty() ? "" : parent + ".") + std::to_string(index + 1);
}

}  // namespace zevka::host
