#include "tests/support/reference/utf_reference.h"

#include <algorithm>
#include <bitset>

namespace zevka::reference {
namespace {

std::string Bits(char byte) {
  return std::bitset<8>(static_cast<unsigned char>(byte)).to_string();
}

std::string BytesOf(const std::string& bits) {
  std::string bytes;
  for (std::size_t at = 0; at < bits.size(); at += 8) {
    bytes += static_cast<char>(std::bitset<8>(bits.substr(at, 8)).to_ulong());
  }
  return bytes;
}

// Bytes that a first byte announces, forms that were never legal included.
std::size_t Announced(char byte) {
  const std::string bits = Bits(byte);
  const std::size_t ones = std::min(bits.find('0'), std::size_t{6});
  return ones < 2 ? 1 : ones;
}

}  // namespace

Utf8Character FirstCharacter(std::string_view text) {
  const std::size_t length = Announced(text[0]);
  if (text.size() < length) {
    return {Utf8Kind::kCutOff, 0, 0};
  }
  const std::string first = Bits(text[0]);
  std::string bits = length == 1 ? first : first.substr(length + 1);
  for (std::size_t i = 1; i < length; ++i) {
    const std::string byte = Bits(text[i]);
    if (byte.substr(0, 2) != "10") {
      return {};
    }
    bits += byte.substr(2);
  }
  const auto codePoint = static_cast<std::uint32_t>(std::bitset<32>(bits).to_ulong());
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if ((length == 1 && codePoint > 127) || length > 4 || codePoint > 0x10FFFF || surrogate ||
      Utf8Of(codePoint) != text.substr(0, length)) {
    return {};
  }
  return {Utf8Kind::kCharacter, codePoint, length};
}

std::optional<std::u32string> CodePointsOf(std::string_view text) {
  std::u32string codePoints;
  while (!text.empty()) {
    const Utf8Character character = FirstCharacter(text);
    if (character.kind != Utf8Kind::kCharacter) {
      return std::nullopt;
    }
    codePoints += static_cast<char32_t>(character.codePoint);
    text.remove_prefix(character.length);
  }
  return codePoints;
}

std::string Utf8Of(std::uint32_t codePoint) {
  const std::string bits = std::bitset<21>(codePoint).to_string();
  if (codePoint < 0x80) {
    return BytesOf("0" + bits.substr(14));
  }
  if (codePoint < 0x800) {
    return BytesOf("110" + bits.substr(10, 5) + "10" + bits.substr(15));
  }
  if (codePoint < 0x10000) {
    return BytesOf("1110" + bits.substr(5, 4) + "10" + bits.substr(9, 6) + "10" + bits.substr(15));
  }
  return BytesOf("11110" + bits.substr(0, 3) + "10" + bits.substr(3, 6) + "10" + bits.substr(9, 6) +
                 "10" + bits.substr(15));
}

bool HasHighByte(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) > 127; });
}

std::optional<std::string> InCLocale(std::u32string_view text) {
  std::string bytes;
  for (const char32_t c : text) {
    if (c < 128) {
      bytes += static_cast<char>(c);
    } else if (c < 0xE0000 || c > 0xE007F) {
      return std::nullopt;
    }
  }
  return bytes;
}

}  // namespace zevka::reference
