// Presses the bytes that are kept of eight together, for levels that have no instruction for it.
#ifndef ZEVKA_CODEC_PRESS_OUT_H
#define ZEVKA_CODEC_PRESS_OUT_H

#include <array>
#include <cstddef>

namespace zevka {

struct PressOut {
  std::array<unsigned char, 8> order;  // the places of those that are kept, for PSHUFB
};

using PressOutTable = std::array<PressOut, 256>;

constexpr PressOutTable MakePressOutTable() {
  PressOutTable table{};
  for (std::size_t mask = 0; mask < table.size(); ++mask) {
    std::size_t count = 0;
    for (unsigned char lane = 0; lane < 8; ++lane) {
      if ((mask >> lane & 1) != 0) {
        table[mask].order[count++] = lane;
      }
    }
  }
  return table;
}

// By a mask of the bytes that are kept.
alignas(64) inline constexpr PressOutTable kPressOut = MakePressOutTable();

constexpr std::array<unsigned char, 256> MakeBitCounts() {
  std::array<unsigned char, 256> counts{};
  for (std::size_t mask = 1; mask < counts.size(); ++mask) {
    counts[mask] = static_cast<unsigned char>(counts[mask / 2] + (mask & 1));
  }
  return counts;
}

alignas(64) inline constexpr std::array<unsigned char, 256> kBitCounts = MakeBitCounts();

}  // namespace zevka

#endif  // ZEVKA_CODEC_PRESS_OUT_H
