#!/usr/bin/env bash
# Runs a small set of tests under valgrind's memcheck: a read of bytes that nobody wrote, a touch
# outside a block and a leak each fail it. The set covers every road of the library once; the
# sanitizers, which do not see unwritten bytes, run all tests. Wide texts are left out: the C library
# compares them in steps that memcheck takes for reads outside.
#   scripts/check_valgrind.sh [FILTER]   FILTER: as for --gtest_filter, instead of the set
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup checks
cmake --preset gcc >/dev/null
cmake --build --preset gcc --parallel "$(nproc)" --target abi_tests fuzz_targets

memcheck() {
  valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect \
    --errors-for-leak-kinds=definite,indirect --child-silent-after-fork=yes "$@"
}

memcheck build/gcc/bin/abi_tests --gtest_brief=1 --gtest_filter="${1:-*Golden*:*FooterInline*:FooterChild*:*FooterWrapper*:CommitFiles*:CommitFailure*:PartBodies*:Embedded*:MemoryFiles*}"
if [[ $# -eq 0 ]]; then
  # Of each fuzz target the smallest inputs: valgrind is some thirty times slower than the tests.
  for target in build/gcc/bin/fuzz_*; do
    mapfile -t inputs < <(find "fuzz/seeds/${target##*/fuzz_}" -type f -size -2 | sort | head -n 12)
    [[ ${#inputs[@]} -eq 0 ]] || memcheck "$target" "${inputs[@]}" 2>&1 | tail -n 1
  done
fi
echo "memcheck: nothing found"
