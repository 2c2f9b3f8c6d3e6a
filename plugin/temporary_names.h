// Names for messages that are opened from memory: a running number and 24 random letters and
// digits. They have no folder part; the files behind them live in memory.
#ifndef ZEVKA_PLUGIN_TEMPORARY_NAMES_H
#define ZEVKA_PLUGIN_TEMPORARY_NAMES_H

#include <cstdint>
#include <string>

#include "fileio/mutex.h"

namespace zevka {

// Threads: any number may ask at once; no two get the same number until it wraps.
class TemporaryNames {
 public:
  TemporaryNames() = default;
  ~TemporaryNames();
  TemporaryNames(const TemporaryNames&) = delete;
  TemporaryNames& operator=(const TemporaryNames&) = delete;

  // "filename-", eight digits, "-" and 24 random letters and digits.
  std::string Next();

 private:
  Mutex mutex_;
  std::uint32_t tempNameCounter_ ZEVKA_GUARDED_BY(mutex_) = 0;  // of the next name; wraps silently
};

}  // namespace zevka

#endif  // ZEVKA_PLUGIN_TEMPORARY_NAMES_H
