// The function that every fuzz target defines and that libFuzzer, AFL++ and the replay program
// call: works on one input, asserts the target's laws, and leaves nothing behind.
#ifndef ZEVKA_FUZZ_SUPPORT_TARGET_H
#define ZEVKA_FUZZ_SUPPORT_TARGET_H

#include <cstddef>
#include <cstdint>

// Result: 0, always: every input may go into a fuzzer's collection.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // ZEVKA_FUZZ_SUPPORT_TARGET_H
