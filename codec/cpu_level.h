// Which vector instructions the coders use. A level is chosen once for the process: the best that
// machine and system allow. The library asks nobody else; a program that is linked from its objects
// may ask for a lower one (WantedCpuLevel), as tests do. Every level gives the same bytes and the
// same state; the plain one has no vector code and is what the others are held against.
//
// Threads: any.
#ifndef ZEVKA_CODEC_CPU_LEVEL_H
#define ZEVKA_CODEC_CPU_LEVEL_H

#include <array>
#include <cstdint>

namespace zevka {

enum class CpuLevel : std::uint8_t {
  kPlain,   // what every x86-64 machine has, no vector code of our own
  kSse,     // SSSE3 and SSE4.1
  kAvx2,    // AVX2, BMI1, BMI2 and POPCNT
  kAvx512,  // the same and AVX-512 F, BW, VL, VBMI and VBMI2
};

inline constexpr std::array kCpuLevels{CpuLevel::kPlain, CpuLevel::kSse, CpuLevel::kAvx2,
                                       CpuLevel::kAvx512};

// The highest level that the machine has and the system keeps the registers of.
CpuLevel BestCpuLevel();

// The level to use.
//   best    the highest one there is
//   wanted  a name of a level in lower case; one above `best` gives `best`, and so do null and any
//           other text
CpuLevel ChooseCpuLevel(CpuLevel best, const char* wanted);

// The name of the level that is wanted. The library's own answer, null, is a weak symbol: a program
// linked from its objects that defines the function gets its own.
const char* WantedCpuLevel();

// The level of this process; what is wanted is asked at the first call only.
CpuLevel ActiveCpuLevel();

}  // namespace zevka

#endif  // ZEVKA_CODEC_CPU_LEVEL_H
