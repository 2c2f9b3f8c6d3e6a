#include "tests/support/reference/base64_reference.h"

#include <bitset>

namespace zevka::reference {
namespace {

// The value of a data character, or -1 skipped, -2 invalid, -3 "=".
int Classify(char c) {
  if (c >= 'A' && c <= 'Z') {
    return c - 'A';
  }
  if (c >= 'a' && c <= 'z') {
    return c - 'a' + 26;
  }
  if (c >= '0' && c <= '9') {
    return c - '0' + 52;
  }
  switch (c) {
    case '+':
      return 62;
    case '/':
      return 63;
    case '\t':
    case '\n':
    case '\r':
    case ' ':
      return -1;
    case '=':
      return -3;
    default:
      return -2;
  }
}

char Digit(const std::string& sixBits) {
  const auto value = std::bitset<6>(sixBits).to_ulong();
  if (value < 26) {
    return static_cast<char>('A' + value);
  }
  if (value < 52) {
    return static_cast<char>('a' + value - 26);
  }
  if (value < 62) {
    return static_cast<char>('0' + value - 52);
  }
  return value == 62 ? '+' : '/';
}

std::string PaddedDigits(std::string_view bytes) {
  std::string bits;
  for (const char c : bytes) {
    bits += std::bitset<8>(static_cast<unsigned char>(c)).to_string();
  }
  while (bits.size() % 6 != 0) {
    bits += '0';
  }
  std::string digits;
  for (std::size_t at = 0; at < bits.size(); at += 6) {
    digits += Digit(bits.substr(at, 6));
  }
  while (digits.size() % 4 != 0) {
    digits += '=';
  }
  return digits;
}

}  // namespace

std::string Base64Decoder::Decode(std::string_view input, std::size_t room) {
  invalidCount = 0;
  std::string out;
  for (const char c : input) {
    value = Classify(c);
    if (value == -2) {
      invalidCount += 1;
    }
    if (value == -3) {
      padCount += 1;
    }
    if (value < 0) {
      continue;
    }
    invalidCount += padCount;
    padCount = 0;
    if (used > 0 && out.size() == room) {
      continue;
    }
    bits += std::bitset<6>(static_cast<unsigned long long>(value)).to_string();
    used = (used + 1) % 4;
    if (bits.size() >= 8) {
      out += static_cast<char>(std::bitset<8>(bits.substr(0, 8)).to_ulong());
      bits.erase(0, 8);
    }
    if (!bits.empty()) {
      lastBits = static_cast<unsigned>(std::bitset<8>(bits).to_ulong() << (8 - bits.size()));
    }
  }
  invalidTotal += invalidCount;
  return out;
}

std::string EncodeBase64BreakBefore(std::string_view bytes, std::size_t lineLength,
                                    std::string_view lineEnd) {
  const std::string digits = PaddedDigits(bytes);
  std::string out;
  for (std::size_t at = 0; at < digits.size(); ++at) {
    if (at > 0 && at % lineLength == 0) {
      out += lineEnd;
    }
    out += digits[at];
  }
  return out;
}

std::string EncodeBase64BreakBehind(std::string_view bytes, std::size_t lineLength,
                                    std::string_view lineEnd) {
  // A padded group ends the text, not a line.
  const bool padded = bytes.size() % 3 != 0;
  const std::string digits = PaddedDigits(bytes);
  std::string out;
  for (std::size_t at = 0; at < digits.size(); ++at) {
    out += digits[at];
    const bool last = at + 1 == digits.size();
    if ((at + 1) % lineLength == 0 && !(last && padded)) {
      out += lineEnd;
    }
  }
  return out;
}

}  // namespace zevka::reference
