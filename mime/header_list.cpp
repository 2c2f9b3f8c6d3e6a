#include "mime/header_list.h"

#include <algorithm>
#include <limits>

#include "codec/ascii.h"

namespace zevka {
namespace {

std::string_view UpToNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

}  // namespace

void HeaderSizes::Cover(std::size_t nameLength, std::size_t valueLength) {
  nameSize = std::max<std::uint64_t>(nameSize, nameLength + 1);
  const std::size_t most = std::numeric_limits<std::uint32_t>::max();
  valueSize = std::max(valueSize, static_cast<std::uint32_t>(std::min(valueLength + 1, most)));
}

void HeaderSizes::Cover(const HeaderSizes& other) {
  nameSize = std::max(nameSize, other.nameSize);
  valueSize = std::max(valueSize, other.valueSize);
}

HeaderNode& AppendNode(HeaderList& list, std::string_view name, std::string_view value) {
  return list.emplace_back(HeaderNode{std::string(UpToNul(name)), std::string(UpToNul(value)), {}});
}

HeaderList::const_iterator FindField(const HeaderList& list, std::string_view name) {
  return std::find_if(list.begin(), list.end(),
                      [&](const HeaderNode& field) { return EqualsNoCase(field.name, name); });
}

bool IsDomainSignature(std::string_view name) {
  return EqualsNoCase(name, "DKIM-Signature") || EqualsNoCase(name, "DomainKey-Signature");
}

}  // namespace zevka
