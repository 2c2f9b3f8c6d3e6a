#!/usr/bin/env bash
# Looks at how a release build of the library is hardened, in the file that hosts load.
#   check_hardening.sh LIBRARY
# Full RELRO, binding at load, no executable stack, no text relocations, no search path, stack
# protector, fortified calls, and control-flow enforcement (CET): marked, and true of every function
# that something outside calls.
set -euo pipefail
export LC_ALL=C
if [[ $# -ne 1 ]]; then
  echo "usage: check_hardening.sh LIBRARY" >&2
  exit 2
fi
library=$1

fail() {
  echo "$library: $*" >&2
  exit 1
}

segments=$(readelf --wide --program-headers "$library")
dynamic=$(readelf --wide --dynamic "$library")
grep -q GNU_RELRO <<<"$segments" || fail "no GNU_RELRO segment"
grep -qE 'FLAGS_1.*NOW' <<<"$dynamic" || fail "does not bind at load"
grep -qE 'GNU_STACK .* RW  ' <<<"$segments" || fail "the stack is executable"
! grep -qE '\((TEXTREL|RPATH|RUNPATH)\)' <<<"$dynamic" || fail "text relocations or a search path"
! grep -E 'LOAD .* RWE' <<<"$segments" || fail "a segment is writable and executable"

imports=$(nm -D --undefined-only "$library" | awk '{print $NF}')
grep -q '^__stack_chk_fail' <<<"$imports" || fail "no stack protector"
grep -qE '^__[a-z]+_chk@' <<<"$imports" || fail "no fortified call"

# The marks are for the whole file, so nothing that is called from outside may lack its landing.
grep -qE 'IBT, SHSTK' <<<"$(readelf --notes "$library" 2>/dev/null)" || fail "not marked for CET"
! grep -qE '\((INIT|FINI)\)' <<<"$dynamic" || fail "start code without a landing is called"
code=$(objdump --disassemble --no-show-raw-insn "$library")
while read -r name; do
  first=$(grep -A1 -E "<$name(@@?[A-Za-z0-9_.]+)?>:\$" <<<"$code" | tail -1)
  [[ "$first" == *endbr64* ]] || fail "$name has no landing"
done < <(nm -D --defined-only "$library" | awk '{sub(/@.*/, "", $NF); print $NF}')

echo "full RELRO, bind now, stack protector, fortify, CET"
