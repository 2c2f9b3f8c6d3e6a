#!/usr/bin/env bash
# Fails when clang-format would change a tracked source file.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

git ls-files -z -- '*.h' '*.cpp' | xargs -0 -r -n 40 -P 2 clang-format --dry-run -Werror
