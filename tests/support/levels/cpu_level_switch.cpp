// For programs and a library of the tests: ZEVKA_CPU_LEVEL in the environment keeps the coders to
// fewer vector instructions (plain, sse, avx2 or avx512). The library that is shipped has no such
// switch.
#include <cstdlib>

#include "codec/cpu_level.h"

namespace zevka {

const char* WantedCpuLevel() {
  return secure_getenv("ZEVKA_CPU_LEVEL");
}

}  // namespace zevka
