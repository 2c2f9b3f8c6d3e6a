// Mode strings as flag bits.
#ifndef ZEVKA_FILEIO_OPEN_FLAGS_H
#define ZEVKA_FILEIO_OPEN_FLAGS_H

#include <cstdint>

namespace zevka {

using OpenFlags = std::uint32_t;

inline constexpr OpenFlags kOpenRead = 1;
inline constexpr OpenFlags kOpenWrite = 2;
inline constexpr OpenFlags kOpenCreate = 4;
inline constexpr OpenFlags kOpenTruncate = 8;
inline constexpr OpenFlags kOpenAppend = 16;

// The flags of a mode string, read from left to right: "r", "w" and "a" set the flags anew, "+"
// adds to what stands before it, other characters mean nothing. r 1, r+ 3, w 14, w+ 15, a 18,
// a+ 23.
OpenFlags ParseOpenMode(const char* mode);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_OPEN_FLAGS_H
