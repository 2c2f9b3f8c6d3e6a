#!/usr/bin/env bash
# Fails when cppcheck has something to say about the library, the host tools or the fuzz targets;
# what it is not asked about stands, with reasons, in cppcheck_suppressions.txt.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

cppcheck --quiet --std=c++20 --language=c++ --error-exitcode=1 -j "$(nproc)" \
  --enable=warning,performance,portability,style --inline-suppr \
  --suppressions-list=scripts/cppcheck_suppressions.txt --suppress=missingIncludeSystem \
  -I . -I include --template='{file}:{line}: {id}: {message}' \
  fileio codec mime footer plugin host examples fuzz
