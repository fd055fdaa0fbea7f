#!/bin/bash
# Finds what has no place in the sources: left-over notes, paths of one machine, and references to papers that a reader
# of the repository does not have.
set -euo pipefail
cd "$(dirname "$0")/.."

pattern='\b([T]ODO|[F]IXME|[X]XX|[H]ACK)\b'
pattern="$pattern|(^|[^A-Za-z0-9_.])/(work|home|root|Users)/[a-z]"
pattern="$pattern|\b[Ss]pec(ification)?s?\b|\b[Pp]art [0-9]+(\.[0-9]+)?\b|\bsection [0-9]+\.[0-9]+"
pattern="$pattern|\b[Ii]ssue #?[0-9]+|\b[Aa]s (required|asked) by the\b|\bper the contract\b"

if git grep -nIE "$pattern" -- ':!LICENSE*' ':!.ci/check-wording.sh'; then
    echo 'wording: the lines above have no place here' >&2
    exit 1
fi
echo 'wording: nothing to complain about'
