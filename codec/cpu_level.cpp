#include "codec/cpu_level.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zevka {
namespace {

constexpr std::array<std::string_view, kCpuLevels.size()> kNames{"plain", "sse", "avx2", "avx512"};

bool HasSse() {
  return __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

bool HasAvx2() {
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
         __builtin_cpu_supports("bmi2") != 0 && __builtin_cpu_supports("popcnt") != 0;
}

bool HasAvx512() {
  return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
         __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512vbmi") != 0 &&
         __builtin_cpu_supports("avx512vbmi2") != 0;
}

}  // namespace

CpuLevel BestCpuLevel() {
  __builtin_cpu_init();
  if (!HasSse()) {
    return CpuLevel::kPlain;
  }
  if (!HasAvx2()) {
    return CpuLevel::kSse;
  }
  return HasAvx512() ? CpuLevel::kAvx512 : CpuLevel::kAvx2;
}

CpuLevel ChooseCpuLevel(CpuLevel best, const char* wanted) {
  const auto* const name =
      std::find(kNames.begin(), kNames.end(), wanted == nullptr ? std::string_view() : wanted);
  if (name == kNames.end()) {
    return best;
  }
  return std::min(best, kCpuLevels[static_cast<std::size_t>(name - kNames.begin())]);
}

// Nothing about the library is configured from outside.
[[gnu::weak]] const char* WantedCpuLevel() {
  return nullptr;
}

CpuLevel ActiveCpuLevel() {
  static const CpuLevel level = ChooseCpuLevel(BestCpuLevel(), WantedCpuLevel());
  return level;
}

}  // namespace zevka
