// SHA-256 of bytes that may come in pieces: manifests name what was extracted by it, and an edit is
// told from no edit by it. Plain code, the same on every machine; not meant for keys and secrets,
// as nothing is wiped from memory.
//
// Threads: an object belongs to one thread at a time. Nothing throws but for want of memory.
// Sources: FIPS 180-4, 4.1.2, 4.2.2, 5.1.1, 5.3.3 and 6.2.
#ifndef ZEVKA_HOST_KIT_SHA256_H
#define ZEVKA_HOST_KIT_SHA256_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zevka::host {

class Sha256 {
 public:
  // Takes the next bytes. How they are split makes no difference.
  void Add(std::string_view bytes);

  // The digest of all bytes so far, as 64 lower-case digits. More bytes may follow.
  std::string HexDigest() const;

 private:
  static constexpr std::size_t kBlockBytes = 64;

  void AddBlock(const char* block);

  std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<char, kBlockBytes> pending_ = {};  // the begun block: totalBytes_ % kBlockBytes of it
  std::uint64_t totalBytes_ = 0;
};

// The digest of one text, as 64 lower-case digits.
std::string Sha256Hex(std::string_view bytes);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_SHA256_H
