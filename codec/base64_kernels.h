// The parts of the base64 coders that vector instructions do: runs without anything odd in them.
// States, faults, lines and room stay with base64.cpp.
//
// Threads: any; the kernels have no state.
#ifndef ZEVKA_CODEC_BASE64_KERNELS_H
#define ZEVKA_CODEC_BASE64_KERNELS_H

#include <array>
#include <cstddef>
#include <string_view>

#include "codec/cpu_level.h"

namespace zevka {

// What Squeeze gives: the character it stopped at, and how many digits it found.
struct Base64Squeezed {
  const unsigned char* in;
  std::size_t digits;
};

// A kernel may write this many bytes behind the digits that it squeezes.
inline constexpr std::size_t kSqueezeSlack = 64;

// Lines of the encoder of changed bodies.
inline constexpr std::size_t kBase64LineGroups = 18;
inline constexpr std::size_t kBase64LineBytes = 3 * kBase64LineGroups;
inline constexpr std::size_t kBase64LineLength = 4 * kBase64LineGroups;

struct Base64Kernels {
  // The values of data characters, one a byte, white space left out; stops before anything else.
  //   digits  room for end - in values and kSqueezeSlack
  Base64Squeezed (*squeeze)(const unsigned char* in, const unsigned char* end,
                            unsigned char* digits);
  // Puts each four digits together to three bytes; writes just these.
  void (*pack)(const unsigned char* digits, std::size_t groups, unsigned char* out);
  // Encodes each three bytes as four characters; reads and writes just these.
  void (*encodeGroups)(const unsigned char* in, std::size_t groups, unsigned char* out);
  // Encodes full lines, the terminator of at most two bytes before each of them; reads and writes
  // just these.
  void (*encodeLines)(const unsigned char* in, std::size_t lines, std::string_view terminator,
                      unsigned char* out);
};

// Null at the plain level. The machine must have the level.
const Base64Kernels* Base64KernelsAt(CpuLevel level);

extern const Base64Kernels kBase64KernelsSse;
extern const Base64Kernels kBase64KernelsAvx2;
extern const Base64Kernels kBase64KernelsAvx512;

// The plain forms of the same, for what is too short for a vector.
Base64Squeezed Base64SqueezePlain(const unsigned char* in, const unsigned char* end,
                                  unsigned char* digits);
void Base64PackPlain(const unsigned char* digits, std::size_t groups, unsigned char* out);
void Base64EncodePlain(const unsigned char* in, std::size_t groups, unsigned char* out);

}  // namespace zevka

#endif  // ZEVKA_CODEC_BASE64_KERNELS_H
