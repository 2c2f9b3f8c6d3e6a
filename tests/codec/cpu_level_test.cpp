#include "codec/cpu_level.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace zevka {
namespace {

TEST(CpuLevel, WantedLevelIsUsedWhenTheMachineHasIt) {
  struct Case {
    CpuLevel best;
    const char* wanted;
    CpuLevel used;
  };
  const Case cases[] = {
      {CpuLevel::kAvx512, "plain", CpuLevel::kPlain},
      {CpuLevel::kAvx512, "sse", CpuLevel::kSse},
      {CpuLevel::kAvx512, "avx2", CpuLevel::kAvx2},
      {CpuLevel::kAvx512, "avx512", CpuLevel::kAvx512},
      {CpuLevel::kAvx2, "sse", CpuLevel::kSse},
      // A level that the machine lacks falls to the best that it has.
      {CpuLevel::kAvx2, "avx512", CpuLevel::kAvx2},
      {CpuLevel::kSse, "avx512", CpuLevel::kSse},
      {CpuLevel::kPlain, "avx2", CpuLevel::kPlain},
      // Other text is as good as none.
      {CpuLevel::kAvx512, nullptr, CpuLevel::kAvx512},
      {CpuLevel::kAvx2, nullptr, CpuLevel::kAvx2},
      {CpuLevel::kAvx2, "", CpuLevel::kAvx2},
      {CpuLevel::kAvx2, "SSE", CpuLevel::kAvx2},
      {CpuLevel::kAvx2, "sse ", CpuLevel::kAvx2},
      {CpuLevel::kAvx2, "ss", CpuLevel::kAvx2},
      {CpuLevel::kAvx2, "0", CpuLevel::kAvx2},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ChooseCpuLevel(c.best, c.wanted), c.used) << (c.wanted == nullptr ? "" : c.wanted);
  }
}

TEST(CpuLevel, ActiveLevelIsTheOneThatWasWanted) {
  const CpuLevel before = ActiveCpuLevel();
  EXPECT_EQ(before, ChooseCpuLevel(BestCpuLevel(), std::getenv("ZEVKA_CPU_LEVEL")));
  // It is read once.
  const char* const named = std::getenv("ZEVKA_CPU_LEVEL");
  const std::string kept = named == nullptr ? "" : named;
  setenv("ZEVKA_CPU_LEVEL", before == CpuLevel::kPlain ? "sse" : "plain", 1);
  EXPECT_EQ(ActiveCpuLevel(), before);
  if (named == nullptr) {
    unsetenv("ZEVKA_CPU_LEVEL");
  } else {
    setenv("ZEVKA_CPU_LEVEL", kept.c_str(), 1);
  }
}

}  // namespace
}  // namespace zevka
