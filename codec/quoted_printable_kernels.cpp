#include "codec/quoted_printable_kernels.h"

#include <cstring>
#include <string_view>

namespace zevka {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

constexpr bool IsLiteral(unsigned char c) {
  return c == '\t' || (c >= ' ' && c <= '~' && c != '=');
}

// Each byte's characters, and how many they are.
struct Encoded {
  std::array<char, 4> characters;
};

constexpr std::array<Encoded, 256> MakeEncoded() {
  std::array<Encoded, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto c = static_cast<unsigned char>(i);
    table[i] = IsLiteral(c) ? Encoded{{static_cast<char>(c), 0, 0, 1}}
                            : Encoded{{'=', kHexDigits[i >> 4], kHexDigits[i & 15], 3}};
  }
  return table;
}

constexpr std::array<Encoded, 256> kEncoded = MakeEncoded();

}  // namespace

const QpKernels* QpKernelsAt(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSse:
      return &kQpKernelsSse;
    case CpuLevel::kAvx2:
      return &kQpKernelsAvx2;
    case CpuLevel::kAvx512:
      return &kQpKernelsAvx512;
    case CpuLevel::kPlain:
      break;
  }
  return nullptr;
}

// Four bytes are written for each byte of text, and what is too much overwritten by the next ones.
std::size_t QpEncodePlain(const unsigned char* text, std::size_t length, unsigned char* out) {
  unsigned char* to = out;
  for (std::size_t i = 0; i < length; ++i) {
    const Encoded& encoded = kEncoded[text[i]];
    std::memcpy(to, encoded.characters.data(), 4);
    to += encoded.characters[3];
  }
  return static_cast<std::size_t>(to - out);
}

}  // namespace zevka
