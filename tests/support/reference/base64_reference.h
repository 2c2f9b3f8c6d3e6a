// Base64 the slow way, to be compared with the coders of the library: one character at a time, with
// texts of bits instead of shifts. Shares no code with the library.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_BASE64_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_BASE64_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zevka::reference {

// A decoder with what it remembers between chunks in the open.
class Base64Decoder {
 public:
  // Decodes one chunk into at most `room` bytes.
  std::string Decode(std::string_view input, std::size_t room);

  std::uint64_t invalidTotal = 0;
  std::uint32_t invalidCount = 0;
  std::uint32_t padCount = 0;
  int value = 0;
  std::string bits;       // of the present group, as "0" and "1", a byte that was given out cut off
  unsigned used = 0;      // characters of the present group
  unsigned lastBits = 0;  // the bits kept of the last character that left any behind, as a byte
};

// A whole body in groups: `lineEnd` before each group that follows `lineLength` characters.
std::string EncodeBase64BreakBefore(std::string_view bytes, std::size_t lineLength,
                                    std::string_view lineEnd);

// A whole body in groups: `lineEnd` behind each full line, the last one included.
std::string EncodeBase64BreakBehind(std::string_view bytes, std::size_t lineLength,
                                    std::string_view lineEnd);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_BASE64_REFERENCE_H
