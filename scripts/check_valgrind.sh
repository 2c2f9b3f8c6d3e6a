#!/usr/bin/env bash
# Runs a small set of tests under valgrind's memcheck: a read of bytes that nobody wrote, a touch
# outside a block and a leak each fail it. The set covers every road of the library once; the
# sanitizers, which do not see unwritten bytes, run all tests.
#   scripts/check_valgrind.sh [FILTER]   FILTER: as for --gtest_filter, instead of the set
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup checks
cmake --preset gcc >/dev/null
cmake --build --preset gcc --parallel "$(nproc)" --target abi_tests fuzz_targets

set_of_tests='*Golden*:*FooterInline*:FooterChild*:*FooterWrapper*:CommitFiles*:CommitFailure*:PartBodies*'
set_of_tests+=':Embedded*:MemoryFiles*:WideText*'
inputs_of_each_target=12
logs=build/gcc/memcheck
mkdir -p "$logs"

# memcheck PROGRAM ARGUMENT...: silent but for what is found.
memcheck() {
  local log
  log=$logs/$(basename "$1").log
  if ! valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect \
      --errors-for-leak-kinds=definite,indirect --child-silent-after-fork=yes \
      --suppressions=scripts/valgrind_suppressions.txt "$@" >"$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
  tail -n 1 "$log"
}

# Of each fuzz target the smallest inputs: everything is some thirty times slower here.
check_fuzz_targets() {
  local target inputs
  for target in build/gcc/bin/fuzz_*; do
    mapfile -t inputs < <(find "fuzz/seeds/${target##*/fuzz_}" -type f -printf '%s %p\n' | sort -n |
      sed "s/^[0-9]* //; ${inputs_of_each_target}q")
    memcheck "$target" "${inputs[@]}"
  done
}

if [[ $# -gt 0 ]]; then
  memcheck build/gcc/bin/abi_tests --gtest_brief=1 --gtest_filter="$1"
else
  check_fuzz_targets &
  targets=$!
  memcheck build/gcc/bin/abi_tests --gtest_brief=1 --gtest_filter="$set_of_tests"
  wait "$targets"
fi
echo "memcheck: nothing found"
