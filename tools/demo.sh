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

# Every type of blur, and what each edge mode takes for the world beyond the picture.
others=$sheet
blurs=''
for type in ellipse gauss uniform exponential exponential-float fast-gauss fast-gauss-float; do
    make "blur-$type" blur "$samples/tulips.png" --type "$type" --radius 24
    blurs="$blurs $out/blur-$type.png"
done
make glow glow "$samples/blossom.png" --radius 12 --low 0.4
blurs="$blurs $out/glow.png"
for edge in color wrap extend mirror; do
    make "edge-$edge" blur "$samples/cliff.png" --type uniform --radius 90,30 --edge "$edge" --edge-color '#c02020'
    blurs="$blurs $out/edge-$edge.png"
done
make sharpened sharpen "$samples/cliff.png" --type edge --radius 2 --degree 0.1
make roberts roberts "$samples/cliff.png"
make gradient gradient "$samples/cliff.png" --direction all
make emboss emboss "$samples/cliff.png"
blurs="$blurs $out/sharpened.png $out/roberts.png $out/gradient.png $out/emboss.png"
# Names hold no blanks, so that the lists may be split.
"$qzil" sheet $blurs --columns 4 --shrink 2 -o "$out/neighbourhoods.png"
printf '%s\n' "$out/neighbourhoods.png"
sheet=$others

# video NAME SHRINK FIRST SECOND ARGUMENTS...: pans over two photographs and dissolves the one clip into the other. Five
# frames of the result go onto a contact sheet.
video() {
    name=$1
    shrink=$2
    first=$3
    second=$4
    shift 4
    "$qzil" pan "$samples/$first.png" "$@" --frames 25 -o "$out/$name-a.y4m"
    "$qzil" pan "$samples/$second.png" "$@" --frames 25 -o "$out/$name-b.y4m"
    time=$("$qzil" run blend "$out/$name-a.y4m" "$out/$name-b.y4m" --alpha 0..1 --jobs 2 --progress off --time \
        -o "$out/dissolve-$name.y4m")
    rm "$out/$name-a.y4m" "$out/$name-b.y4m"
    printf '%-36s %s\n' "$out/dissolve-$name.y4m" "$time"
    set --
    for frame in 1 7 13 19 25; do
        "$qzil" convert "$out/dissolve-$name.y4m" --frame "$frame" -o "$out/$name-$frame.png"
        set -- "$@" "$out/$name-$frame.png"
    done
    "$qzil" sheet "$@" --columns 5 --shrink "$shrink" -o "$out/frames-$name.png"
    rm "$@"
    printf '%s\n' "$out/frames-$name.png"
}

# The two fields of a frame show different times, as an interlaced camera sees them.
video sd 2 cliff tulips --size 720,576 --interlaced top --aspect 16:15
video hd 4 blossom cliff --size 1920,1080
if command -v ffmpeg >/dev/null; then
    for name in sd hd; do
        fields=''
        [ "$name" = hd ] || fields='-vf scale=interl=1 -flags +ilme+ildct'
        # shellcheck disable=SC2086
        ffmpeg -nostdin -v error -y -i "$out/dissolve-$name.y4m" $fields -pix_fmt yuv420p "$out/dissolve-$name.mp4"
        printf '%s\n' "$out/dissolve-$name.mp4"
    done
else
    echo 'no ffmpeg here (Debian: apt-get install ffmpeg): the videos stay y4m, and no mp4 is made of them'
fi

set --
for name in $sheet; do set -- "$@" "$out/$name.png"; done
"$qzil" sheet "$@" --columns 4 --shrink 2 -o "$out/contact-sheet.png"
printf '%s\n' "$out/contact-sheet.png"
