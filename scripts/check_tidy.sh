#!/usr/bin/env bash
# Fails on the first warnings of clang-tidy in the library and the host tools. Two files at a time.
#   scripts/check_tidy.sh [FILE...]   FILE: only these, for a quick look while working
#   scripts/check_tidy.sh --quick     the library only: the host side takes three times as long
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

cmake --preset tidy -DZEVKA_BUILD_TESTS=OFF -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null

sources() {
  if [[ "${1:-}" == --quick ]]; then
    find fileio codec mime footer plugin -name '*.cpp' -print0 | sort -z
  elif [[ $# -gt 0 ]]; then
    printf '%s\0' "$@"
  else
    find fileio codec mime footer plugin host examples -name '*.cpp' -print0 | sort -z
  fi
}

# Clang's count of the warnings that it hid is noise; everything else is a finding.
check() {
  local log
  if ! log=$(clang-tidy --quiet -p build/tidy "$1" 2>&1); then
    printf '%s\n' "$log" | grep -v 'warnings generated\.$' >&2
    return 255  # xargs starts no further file
  fi
}
export -f check

sources "$@" | xargs -0 -n 1 -P 2 bash -c 'check "$1"' check
