#!/bin/bash
# Tests stay a part of the code: lines that are not blank, in per cent.
set -euo pipefail
cd "$(dirname "$0")/.."

limit=42
lines() {
    git ls-files -z -- "$@" | xargs -0 -r cat | grep -cvE '^\s*$' || true
}
code=$(lines 'qzil/*' 'catalog/*' 'media/*' 'tools/*' 'bindings/*' 'plugins/*')
tests=$(lines 'tests/*.cpp' 'tests/*.h' 'tests/*.py' 'tests/*.sh')
share=$((100 * tests / code))
echo "tests: $tests lines to $code lines of code, $share per cent"
[ "$share" -le "$limit" ] || { echo "tests: more than $limit per cent of the code" >&2; exit 1; }
