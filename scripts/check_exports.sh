#!/usr/bin/env bash
# Looks at the built library from outside: what it gives, what it needs, how it is mapped.
#   check_exports.sh LIBRARY MAP [SANITIZERS]
#   MAP         the linker's map, whose global names are the exports
#   SANITIZERS  what the build gave to -fsanitize, when it did: their run-time libraries are allowed,
#               and so is what they leave undefined
set -euo pipefail
export LC_ALL=C
if [[ $# -lt 2 || $# -gt 3 ]]; then
  echo "usage: check_exports.sh LIBRARY MAP [SANITIZERS]" >&2
  exit 2
fi
library=$1
map=$2
sanitizers=${3:-}

fail() {
  echo "$library: $*" >&2
  exit 1
}

# Exactly the twelve names of the map.
wanted=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z_][A-Za-z0-9_]*\);.*$/\1/p' "$map" | sort)
[[ $(wc -l <<<"$wanted") -eq 12 ]] || fail "the map does not name twelve exports"
symbols=$(nm -D --defined-only "$library")
found=$(awk '{print $NF}' <<<"$symbols" | sort)
if [[ "$wanted" != "$found" ]]; then
  diff <(echo "$wanted") <(echo "$found") >&2 || true
  fail "the dynamic symbols are not the twelve exports (< wanted, > found)"
fi
unlike=$(awk '$2 != "T"' <<<"$symbols")
[[ -z "$unlike" ]] || fail "an export is no plain function: $unlike"

# A unique symbol, also a hidden one, would keep the library from ever being unloaded.
unique=$(readelf --wide --dyn-syms --symbols "$library" | awk '$5 == "UNIQUE" {print $NF}')
[[ -z "$unique" ]] || fail "unique symbols: $unique"

# Only the C and C++ run time.
allowed='libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux-x86-64\.so\.2'
if [[ -n "$sanitizers" ]]; then
  allowed+='|lib(asan|ubsan|tsan|lsan)\.so\.[0-9]+'
fi
dynamic=$(readelf --wide --dynamic "$library")
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\].*/\1/p' <<<"$dynamic")
while read -r name; do
  [[ "$name" =~ ^($allowed)$ ]] || fail "needs $name"
done <<<"$needed"

# iconv is looked for at run time; a sanitizer's stand-ins do not bring it in either.
undefined=$(nm -D --undefined-only "$library" | awk '{print $NF}')
! grep -E '^iconv(_open|_close)?(@|$)' <<<"$undefined" || fail "binds to iconv when it is linked"

# The relocation table is read-only once the library is loaded.
readelf --wide --program-headers "$library" | grep -q GNU_RELRO || fail "has no GNU_RELRO segment"
grep -qE 'BIND_NOW|\(FLAGS_1\).*NOW' <<<"$dynamic" || fail "does not bind at load"

echo "twelve exports, full RELRO, needs: $(tr '\n' ' ' <<<"$needed")"
