#include "fuzz/support/law.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace zevka::fuzz {
namespace {

// Generous: a sanitizer's slowness and a busy machine fit in, a quadratic cost over some ten
// thousand bytes does not.
constexpr std::int64_t kFixedNanoseconds = 300'000'000;
constexpr std::int64_t kNanosecondsPerByte = 50'000;

std::int64_t ThreadNanoseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

bool TimeIsLookedAt() {
  static const bool looked = std::getenv("ZEVKA_FUZZ_TIME") != nullptr;
  return looked;
}

}  // namespace

void Law(bool holds, std::string_view text) {
  if (holds) {
    return;
  }
  std::fprintf(stderr, "broken law: %.*s\n", static_cast<int>(text.size()), text.data());
  std::abort();
}

ProportionalTime::ProportionalTime(std::size_t bytes)
    : bytes_(bytes), start_(ThreadNanoseconds()) {}

ProportionalTime::~ProportionalTime() {
  if (TimeIsLookedAt()) {
    const std::int64_t most =
        kFixedNanoseconds + kNanosecondsPerByte * static_cast<std::int64_t>(bytes_);
    Law(ThreadNanoseconds() - start_ <= most, "the time is proportional to the length");
  }
}

}  // namespace zevka::fuzz
