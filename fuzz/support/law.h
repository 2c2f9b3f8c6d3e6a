// Laws that a fuzz target asserts. A law that does not hold is printed and ends the process, which
// is how the fuzzers tell a finding.
#ifndef ZEVKA_FUZZ_SUPPORT_LAW_H
#define ZEVKA_FUZZ_SUPPORT_LAW_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zevka::fuzz {

// Ends the process unless the law holds.
//   text  what should have held, in words that no other law of the target uses
void Law(bool holds, std::string_view text);

// The law of proportional time: what happens while this object lives takes this thread at most a
// fixed time and a time for each byte of the input. Looked at only while a fuzzer runs, never when
// inputs are replayed as tests.
class ProportionalTime {
 public:
  //   bytes  length of the input
  explicit ProportionalTime(std::size_t bytes);
  ~ProportionalTime();
  ProportionalTime(const ProportionalTime&) = delete;
  ProportionalTime& operator=(const ProportionalTime&) = delete;

 private:
  std::size_t bytes_;
  std::int64_t start_;  // nanoseconds of this thread
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_LAW_H
