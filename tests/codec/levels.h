// The levels of vector instructions that a test can run here.
#ifndef ZEVKA_TESTS_CODEC_LEVELS_H
#define ZEVKA_TESTS_CODEC_LEVELS_H

#include <string>
#include <vector>

#include "codec/cpu_level.h"

namespace zevka::test {

inline std::vector<CpuLevel> LevelsHere() {
  std::vector<CpuLevel> levels;
  for (const CpuLevel level : kCpuLevels) {
    if (level <= BestCpuLevel()) {
      levels.push_back(level);
    }
  }
  return levels;
}

inline std::string LevelName(CpuLevel level) {
  return "level " + std::to_string(static_cast<int>(level));
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_CODEC_LEVELS_H
