#include "tests/abi/corpus_tree.h"

#include <array>
#include <cstdlib>
#include <cwchar>

#include "tests/abi/message.h"

namespace zevka::test {
namespace {

std::string FirstLineEnd(PartObject* part) {
  std::array<char, 4> bytes{};
  part->NextHeader(nullptr, bytes.data());
  return bytes.data();
}

std::string DisplayName(PartObject* part) {
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part->GetHeaderSizes(&nameSize, &valueSize);
  std::string name(valueSize + 1024U, '\0');
  part->GetName(name.data());
  return name.c_str();
}

// One UTF-8 sequence at text; its length, 0 when it is none.
std::size_t DecodeUtf8(std::string_view text, char32_t& code) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || length > text.size()) {
    return 0;
  }
  code = length == 1 ? lead : lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) {
      return 0;
    }
    code = (code << 6U) | (byte(i) & 0x3FU);
  }
  const bool tooLong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool noCharacter = (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF;
  return tooLong || noCharacter ? 0 : length;
}

// What a wide operation shows for a narrow text: the locale's conversion, else UTF-8, else the
// error text.
std::wstring Widened(const std::string& text) {
  std::wstring wide(text.size() + 1, L'\0');
  const std::size_t count = std::mbstowcs(wide.data(), text.c_str(), wide.size());
  if (count != static_cast<std::size_t>(-1)) {
    wide.resize(count);
    return wide;
  }
  wide.clear();
  for (std::size_t i = 0; i < text.size();) {
    char32_t code = 0;
    const std::size_t length = DecodeUtf8(std::string_view(text).substr(i), code);
    if (length == 0) {
      return L"(conversion-error)";
    }
    wide += static_cast<wchar_t>(code);
    i += length;
  }
  return wide;
}

void ReadSourceCopy(const Host& host, PartObject* part, Node& node) {
  std::string name(513, '\0');
  node.hasSourceCopy = host->QueryControl(kQuerySourceFile, part, name.data()) == 1;
  if (!node.hasSourceCopy) {
    return;
  }
  node.sourceCopy = ReadFile(host, name.c_str());
  PartObject* embedded = node.sourceCopy.empty() ? nullptr : host.Open(node.sourceCopy);
  if (embedded != nullptr) {
    node.embedded.push_back(ReadTree(host, embedded));
    host.Discard(embedded);
  }
}

std::string BodyFileDifference(int result, const char* name, const std::string& body) {
  if (result != 1) {
    return body.empty() ? "" : std::string(name) + " is not given\n";
  }
  return DiskBytes(name) == body ? "" : std::string(name) + " holds something else\n";
}

}  // namespace

Node ReadTree(const Host& host, PartObject* part) {
  Node node;
  node.fields = Host::Headers(part);
  node.firstLineEnd = FirstLineEnd(part);
  node.name = DisplayName(part);
  node.encoded = Host::Encoded(part);
  node.decoded = Host::Decoded(part);
  const std::vector<Field> after = Host::Headers(part);
  if (after.size() > node.fields.size()) {
    node.markers.assign(after.begin() + static_cast<std::ptrdiff_t>(node.fields.size()),
                        after.end());
  }
  node.multipart = part->RewindChildren() == 1;
  for (PartObject* child : Host::Children(part)) {
    node.children.push_back(ReadTree(host, child));
  }
  ReadSourceCopy(host, part, node);
  return node;
}

std::string WideDifferences(PartObject* part) {
  std::string differences;
  const std::vector<Field> fields = Host::Headers(part);
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  part->GetHeaderSizes(&nameSize, &valueSize);
  std::wstring name(nameSize + 64U, L'\0');
  std::wstring value(valueSize + 64U, L'\0');
  part->RewindHeaders();
  for (const Field& field : fields) {
    if (part->NextHeaderW(name.data(), value.data()) != 1) {
      differences += "field " + field.first + " has no wide form\n";
    } else if (name.c_str() != Widened(field.first) || value.c_str() != Widened(field.second)) {
      differences += "field " + field.first + " is another in wide form\n";
    }
  }
  if (part->NextHeaderW(name.data(), value.data()) != 0) {
    differences += "there are more wide fields\n";
  }
  std::array<wchar_t, 513> wideName{};
  part->GetNameW(wideName.data());
  for (PartObject* child : Host::Children(part)) {
    differences += WideDifferences(child);
  }
  return differences;
}

std::string BodyFileDifferences(PartObject* part, const Node& node) {
  std::array<char, 1024> name{};
  std::string differences =
      BodyFileDifference(part->GetDecodedBodyFile(name.data()), name.data(), node.decoded);
  name.fill('\0');
  differences +=
      BodyFileDifference(part->GetEncodedBodyFile(name.data()), name.data(), node.encoded);
  const std::vector<PartObject*> children = Host::Children(part);
  for (std::size_t i = 0; i < children.size() && i < node.children.size(); ++i) {
    differences += BodyFileDifferences(children[i], node.children[i]);
  }
  return differences;
}

std::vector<std::string> DerivedNames(const Node& node, const std::string& fileName) {
  std::vector<std::string> names;
  for (const char* suffix : {"_e", "_d", "_b", "_e.rfc822", "_footer", "_footer_e", "_footer_d",
                             "_multipart", "_multipart_e", "_multipart_d", "_multipart_b",
                             "_multipart_0", "_multipart_0_e", "_multipart_0_d", "_multipart_1"}) {
    names.push_back(fileName + suffix);
  }
  const auto addBelow = [&names](const Node& child, const std::string& childName) {
    const std::vector<std::string> below = DerivedNames(child, childName);
    names.insert(names.end(), below.begin(), below.end());
  };
  for (std::size_t i = 0; i <= node.children.size(); ++i) {
    std::string childName = fileName;
    childName.append(1, '_').append(std::to_string(i));
    names.push_back(childName);
    names.push_back(childName + "_e");
    names.push_back(childName + "_d");
    if (i < node.children.size()) {
      addBelow(node.children[i], childName);
    }
  }
  for (const Node& child : node.embedded) {
    addBelow(child, fileName + "_e");
  }
  return names;
}

std::string Haystack(const Node& node) {
  std::string text;
  for (const Field& field : node.fields) {
    text.append(field.first).append(1, ':').append(field.second).append(1, '\n');
  }
  text += node.encoded;
  text += node.sourceCopy;
  for (const Node& child : node.children) {
    text.append(1, '\n').append(Haystack(child));
  }
  return text;
}

}  // namespace zevka::test
