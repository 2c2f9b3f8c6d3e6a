#include "codec/base64_kernels.h"

#include <cstdint>

#include "codec/base64_tables.h"

namespace zevka {

const Base64Kernels* Base64KernelsAt(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSse:
      return &kBase64KernelsSse;
    case CpuLevel::kAvx2:
      return &kBase64KernelsAvx2;
    case CpuLevel::kAvx512:
      return &kBase64KernelsAvx512;
    case CpuLevel::kPlain:
      break;
  }
  return nullptr;
}

Base64Squeezed Base64SqueezePlain(const unsigned char* in, const unsigned char* end,
                                  unsigned char* digits) {
  unsigned char* to = digits;
  for (; in != end; ++in) {
    const std::int16_t value = kBase64Classes[*in];
    if (value < kBase64Skipped) {
      break;
    }
    // White space is overwritten by what follows.
    *to = static_cast<unsigned char>(value);
    to += value >= 0 ? 1 : 0;
  }
  return {in, static_cast<std::size_t>(to - digits)};
}

void Base64PackPlain(const unsigned char* digits, std::size_t groups, unsigned char* out) {
  for (; groups != 0; --groups, digits += 4, out += 3) {
    out[0] = static_cast<unsigned char>((digits[0] << 2) | (digits[1] >> 4));
    out[1] = static_cast<unsigned char>((digits[1] << 4) | (digits[2] >> 2));
    out[2] = static_cast<unsigned char>((digits[2] << 6) | digits[3]);
  }
}

void Base64EncodePlain(const unsigned char* in, std::size_t groups, unsigned char* out) {
  for (; groups != 0; --groups, in += 3, out += 4) {
    const unsigned group =
        (static_cast<unsigned>(in[0]) << 16) | (static_cast<unsigned>(in[1]) << 8) | in[2];
    out[0] = static_cast<unsigned char>(kBase64Alphabet[group >> 18]);
    out[1] = static_cast<unsigned char>(kBase64Alphabet[(group >> 12) & 63]);
    out[2] = static_cast<unsigned char>(kBase64Alphabet[(group >> 6) & 63]);
    out[3] = static_cast<unsigned char>(kBase64Alphabet[group & 63]);
  }
}

}  // namespace zevka
