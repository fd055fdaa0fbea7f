#!/bin/bash
# Effects leave to the operations what belongs to them: no effect source compares formats or sets a trait of a row.
set -euo pipefail
cd "$(dirname "$0")/.."

families='pixel keying spatial field analysis transform wipe'
pattern='[!=]= MFIF_|traits\.(b|i|e)[A-Z]|RowTraits|kernel::Bound\('
found=0
for family in $families; do
    [ -d "qzil/$family" ] || continue
    # The keyers' base is a frame of its own: it cuts walks by the crop box.
    git grep -nE "$pattern" -- "qzil/$family/*.h" "qzil/$family/*.cpp" ':!qzil/keying/keyer_base.*' && found=1
done
[ "$found" = 0 ] || { echo 'effects: the lines above belong into an operation' >&2; exit 1; }
echo 'effects: nothing to complain about'
