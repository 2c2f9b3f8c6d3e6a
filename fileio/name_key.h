// The 64-bit key by which memory files are found.
//
// A key is a block-cipher-like mix of the bytes of a name. It is no checksum and no secret: names
// with one key are easily built (the last words of a name are filled up with its length), and two
// such names are the same memory file for every look-up.
#ifndef ZEVKA_FILEIO_NAME_KEY_H
#define ZEVKA_FILEIO_NAME_KEY_H

#include <cstdint>

namespace zevka {

// The two halves of a key. Keys are ordered by high half, then low half, both unsigned.
struct NameKey {
  std::uint32_t high = 0;
  std::uint32_t low = 0;

  friend bool operator==(const NameKey&, const NameKey&) = default;
};

// The key of `length` bytes; below 1 the key of the empty name, and `bytes` may be null.
NameKey ComputeNameKey(const char* bytes, std::int32_t length);

// The key of a terminated name, all of it, however long.
NameKey KeyOfName(const char* name);

// Below 0, 0 or above 0 as `left` stands before, at or after `right`.
inline int CompareNameKeys(const NameKey& left, const NameKey& right) {
  if (left.high != right.high) {
    return left.high < right.high ? -1 : 1;
  }
  if (left.low != right.low) {
    return left.low < right.low ? -1 : 1;
  }
  return 0;
}

}  // namespace zevka

#endif  // ZEVKA_FILEIO_NAME_KEY_H
