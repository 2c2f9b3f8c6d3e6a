// Counts what the process takes from the heap, the loaded library included: this program's own
// malloc and its relatives stand in front of the C library's and pass every call on.
#ifndef ZEVKA_TESTS_SHAPES_HEAP_METER_H
#define ZEVKA_TESTS_SHAPES_HEAP_METER_H

#include <cstdint>

namespace zevka::test {

struct HeapUse {
  std::uint64_t calls = 0;  // blocks asked for
  std::uint64_t bytes = 0;  // in all of them
  std::int64_t peak = 0;    // bytes held at once at most, beyond what was held at the start
};

void StartHeapMeter();
// Since the start; the counting goes on.
HeapUse ReadHeapMeter();
// Bytes held now, beyond what was held at the start.
std::int64_t HeapHeld();

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SHAPES_HEAP_METER_H
