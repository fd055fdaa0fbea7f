#!/bin/bash
# Checks the symbols of a build: check-symbols.sh [--rewrite] [BUILD_FOLDER]. --rewrite accepts the exported symbols as
# they are, and writes the list that later runs compare with.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
list=$root/.ci/exported-symbols.txt
rewrite=0
if [ "${1:-}" = --rewrite ]; then
    rewrite=1
    shift
fi
build=$(cd "${1:-$root/build/release}" && pwd)
library=$build/qzil/libqzil.so
failed=0

fail() {
    echo "symbols: $1" >&2
    failed=1
}

# The row objects of newer processors: what the linker may merge with other objects' functions would run everywhere.
# Instances of templates are such symbols; those of the level's own namespace are in no other object.
for level in v3 v4; do
    folder=$build/qzil/CMakeFiles/qzil_rows_$level.dir
    [ -d "$folder" ] || continue
    symbols=$(find "$folder" -name '*.o' -exec nm -C --defined-only {} + | grep -E '^[0-9a-f]+ ' | cut -d' ' -f2-)
    [ -n "$symbols" ] || fail "no objects of level $level"
    own="^[A-Za-z] ((void|auto|bool|int) )?qzil::$level::"
    shared=$(grep -E '^[WVuvw] ' <<<"$symbols" | grep -vE "$own" || true)
    [ -z "$shared" ] || fail "level $level has symbols that the linker may share: $shared"
    strangers=$(grep -E '^[A-Z] ' <<<"$symbols" | grep -vE "$own" || true)
    [ -z "$strangers" ] || fail "level $level has symbols outside qzil::$level: $strangers"
done

# What the library exports: the classes and functions of its public headers, by name and in full.
exported=$(nm -DC --defined-only "$library" | cut -c18- | cut -d' ' -f2- | LC_ALL=C sort -u)
names='qzIL[A-Za-z0-9_]*|_qzILTRACE|CMFImage|CColorRamp|CQZ[A-Za-z]*|il[A-Z][A-Za-z]*'
names="$names|Get[A-Za-z0-9]*FromFormat|IsFormat[A-Za-z0-9_]*|qzil"
names="$names|qzIlRow[A-Za-z0-9]*|DIBNumColors|PaletteSize|FindDIBBits"
names="$names|(New|Delete|Truncate)2DArray|FitBiPolynomial|Clip3DPolygon|Get3DPolygonArea"
names="$names|QuaternionFromEulerAngles|QuaternionToRotationMatrix|RotationMatrixToEulerAngles|AngleFromSineAndCosine"
prefix='((vtable|typeinfo|typeinfo name|VTT) for |(non-)?virtual thunk to |guard variable for )?'
unknown=$(grep -vE "^$prefix($names)(\$|::|\(|\[)" <<<"$exported" | grep -vE '^operator[-+*]\((qzILVector2|float, qzILVector2)' || true)
[ -z "$unknown" ] || fail "exported, but not of the public interface: $unknown"
if [ "$rewrite" = 1 ]; then
    echo "$exported" >"$list"
    echo "symbols: wrote $(wc -l <"$list") names to ${list#"$root"/}"
elif ! diff -u "$list" <(echo "$exported"); then
    fail "the exported symbols changed; when that is meant, run .ci/check-symbols.sh --rewrite"
fi

# The library stands on the standard library alone; the loader comes with libc.
needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
foreign=$(grep -vE '^(libstdc\+\+|libm|libgcc_s|libc)\.so\.[0-9]+$|^ld-linux' <<<"$needed" || true)
[ -z "$foreign" ] || fail "the library needs $foreign"
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = libqzil.so.0 ] || fail "soname is $soname instead of libqzil.so.0"

[ "$failed" = 0 ] && echo "symbols: $(wc -l <<<"$exported") exported, all as listed"
exit "$failed"
