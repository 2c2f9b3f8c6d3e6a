// Views and counters that the benchmarks share.
#ifndef ZEVKA_BENCH_MICRO_BYTES_H
#define ZEVKA_BENCH_MICRO_BYTES_H

#include <benchmark/benchmark.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zevka::bench {

inline std::span<const unsigned char> Bytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline std::span<unsigned char> Room(std::string& text) {
  return {reinterpret_cast<unsigned char*>(text.data()), text.size()};
}

// Each turn worked on that many bytes.
inline void CountBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

// Each turn did that many things.
inline void CountItems(benchmark::State& state, std::size_t items) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
}

inline std::size_t Size(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_MICRO_BYTES_H
