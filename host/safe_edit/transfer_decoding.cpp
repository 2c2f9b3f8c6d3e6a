#include "host/safe_edit/transfer_decoding.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/safe_edit/lines.h"
#include "host/safe_edit/outline.h"

namespace zevka::host {

namespace {

constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> MakeBase64Digits() {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    digits.at(static_cast<unsigned char>(kAlphabet[i])) = static_cast<std::uint8_t>(i);
  }
  return digits;
}
constexpr std::array<std::uint8_t, 256> kBase64Digits = MakeBase64Digits();

int HexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  return -1;
}

// One line without its line end; false when a soft line break ends it.
bool DecodeLine(std::string_view line, std::string* result) {
  const std::size_t last = line.find_last_not_of(" \t");
  line = line.substr(0, last == std::string_view::npos ? 0 : last + 1);
  while (!line.empty()) {
    const std::size_t escape = line.find('=');
    result->append(line.substr(0, escape));
    if (escape == std::string_view::npos) {
      return true;
    }
    line.remove_prefix(escape + 1);
    if (line.empty()) {
      return false;
    }
    if (const std::optional<char> byte = HexByte(line)) {
      result->push_back(*byte);
      line.remove_prefix(2);
    } else {
      result->push_back('=');
    }
  }
  return true;
}

}  // namespace

std::optional<char> HexByte(std::string_view text) {
  if (text.size() < 2) {
    return std::nullopt;
  }
  const int high = HexDigit(text[0]);
  const int low = HexDigit(text[1]);
  if (high < 0 || low < 0) {
    return std::nullopt;
  }
  return static_cast<char>(static_cast<unsigned char>(high * 16 + low));
}

std::string DecodeBase64(std::string_view text) {
  std::string result;
  result.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  unsigned count = 0;  // of bits that wait
  for (const char c : text) {
    const std::uint8_t digit = kBase64Digits[static_cast<unsigned char>(c)];
    if (c == '=') {
      count = 0;
    }
    if (digit == kNoDigit) {
      continue;
    }
    bits = (bits << 6U) | digit;
    count += 6;
    if (count >= 8) {
      count -= 8;
      result.push_back(static_cast<char>(static_cast<unsigned char>(bits >> count)));
    }
  }
  return result;
}

bool IsCleanBase64(std::string_view text) {
  constexpr std::size_t kDigitsOfGroup = 4;
  std::size_t digits = 0;
  std::size_t padding = 0;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      continue;
    }
    const bool isDigit = kBase64Digits[static_cast<unsigned char>(c)] != kNoDigit;
    if (isDigit ? padding > 0 : c != '=') {
      return false;
    }
    ++(isDigit ? digits : padding);
  }
  return digits % kDigitsOfGroup != 1;
}

std::string DecodeQuotedPrintable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  Lines lines(text);
  Line line;
  while (lines.Next(&line)) {
    if (DecodeLine(text.substr(line.begin, line.end - line.begin), &result)) {
      result.append(text.substr(line.end, line.next - line.end));
    }
  }
  return result;
}

std::string DecodedBody(const OutlinePart& leaf) {
  if (leaf.encoding == "base64") {
    return DecodeBase64(leaf.body);
  }
  if (leaf.encoding == "quoted-printable") {
    return DecodeQuotedPrintable(leaf.body);
  }
  return std::string(leaf.body);
}

}  // namespace zevka::host
