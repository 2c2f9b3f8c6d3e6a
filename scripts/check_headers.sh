#!/usr/bin/env bash
# Compiles every header of the tree alone, two at a time: none may lean on what its includer included.
#   check_headers.sh ROOT CXX
set -euo pipefail
if [[ $# -ne 2 ]]; then
  echo "usage: check_headers.sh ROOT CXX" >&2
  exit 2
fi
cd "$1"
export CXX=$2

# The ZEVKA_ macros are what the build gives to the tests.
check() {
  if ! "$CXX" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -Iinclude -I. \
      -DZEVKA_LIBRARY='""' -DZEVKA_TEST_DATA='""' -DZEVKA_CORPUS='""' -x c++ -include "$1" /dev/null
  then
    echo "$1: does not compile alone" >&2
    return 1
  fi
}
export -f check

folders=()
for folder in include fileio codec mime footer plugin host examples tests fuzz; do
  [[ -d "$folder" ]] && folders+=("$folder")
done
find "${folders[@]}" -name '*.h' -print0 | sort -z | xargs -0 -r -n 1 -P 2 bash -c 'check "$1"' check
echo "$(find "${folders[@]}" -name '*.h' | wc -l) headers compile alone"
