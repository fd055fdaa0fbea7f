#!/bin/sh
# Shows the effects on the sample pictures: demo.sh [QZIL [OUTPUT_FOLDER]]. Prints each file and its effect's time.
set -eu

root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
qzil=${1:-$root/build/release/tools/qzil/qzil}
out=${2:-$root/demo-out}
samples=$root/samples
sheet=''

[ -x "$qzil" ] || { echo "demo: there is no program $qzil; build it first" >&2; exit 2; }
mkdir -p "$out"

# make NAME EFFECT ARGUMENTS...: runs an effect into NAME.png and tells its time.
make() {
    name=$1
    shift
    time=$("$qzil" run "$@" -o "$out/$name.png" --time)
    printf '%-36s %s\n' "$out/$name.png" "$time"
    sheet="$sheet $name"
}

# A dissolve from one photograph to another.
for alpha in 0.2 0.4 0.6 0.8; do
    make "dissolve-$alpha" blend "$samples/cliff.png" "$samples/blossom.png" --alpha "$alpha"
done

# The second photograph through a mask: whole, and at four fifths of its strength.
make through-mask blend "$samples/cliff.png" "$samples/tulips.png" --alpha 1 --mask "$samples/mask.png"
make composite composite "$samples/blossom.png" "$samples/tulips.png" --alpha 0.8 --mask "$samples/mask.png"

# A cut-out: alpha becomes 0 everywhere, then 1 through the mask.
"$qzil" run color-blend "$samples/tulips.png" --color 0,0,0,0 --alpha 1 --channels a -o "$out/clear.png"
make cut-out color-blend "$out/clear.png" --color 0,0,0,1 --alpha 1 --channels a --mask "$samples/mask.png"
rm "$out/clear.png"
make over-colour over-color "$out/cut-out.png" --background '#2060a0' --channels rgba
make shown-alpha output-alpha "$out/cut-out.png" --channels rgba

make inverted invert "$samples/cliff.png"
make sepia-tint color-blend "$samples/cliff.png" --color '#c08040' --alpha 0.4
make multiplied lut2 "$samples/cliff.png" "$samples/blossom.png" --rule multiply

# Names hold no blanks, so that the list may be split.
set --
for name in $sheet; do set -- "$@" "$out/$name.png"; done
"$qzil" sheet "$@" --columns 4 --shrink 2 -o "$out/contact-sheet.png"
printf '%s\n' "$out/contact-sheet.png"
