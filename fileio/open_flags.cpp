#include "fileio/open_flags.h"

namespace zevka {
namespace {

OpenFlags WithPlus(OpenFlags flags) {
  if ((flags & kOpenRead) != 0) {
    return flags | kOpenWrite;
  }
  if ((flags & kOpenAppend) != 0) {
    return flags | kOpenRead | kOpenCreate;
  }
  if ((flags & kOpenWrite) != 0) {
    return flags | kOpenRead | kOpenCreate | kOpenTruncate;
  }
  return flags;
}

}  // namespace

OpenFlags ParseOpenMode(const char* mode) {
  OpenFlags flags = 0;
  for (; *mode != '\0'; ++mode) {
    switch (*mode) {
      case 'r':
        flags = kOpenRead;
        break;
      case 'w':
        flags = kOpenWrite | kOpenCreate | kOpenTruncate;
        break;
      case 'a':
        // KEEP(append-creates-nothing): a plain "a" does not create a missing file.
        flags = kOpenWrite | kOpenAppend;
        break;
      case '+':
        flags = WithPlus(flags);
        break;
      default:
        break;
    }
  }
  return flags;
}

}  // namespace zevka
