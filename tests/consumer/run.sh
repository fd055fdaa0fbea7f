#!/bin/bash
# Installs a build into a new prefix, moves it, and builds and runs the example host against it by CMake and by
# pkg-config: run.sh [BUILD_FOLDER].
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build/release}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
expected='191 0 64 255'

check() {
    actual=$(LD_LIBRARY_PATH="$libdir" "$2")
    [ "$actual" = "$expected" ] || { echo "consumer by $1: expected '$expected', actual '$actual'" >&2; exit 1; }
    echo "consumer by $1: $actual"
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"
libdir=$(dirname "$(find "$work/prefix" -name 'libqzil.so.0')")

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
check CMake "$work/cmake/dissolve"
LD_LIBRARY_PATH="$libdir" "$work/cmake/effects" | grep -q 'Cross-fades' || { echo 'consumer: no catalogue' >&2; exit 1; }

mkdir "$work/make"
PKG_CONFIG_PATH="$libdir/pkgconfig" make -s -C "$here" OUT="$work/make"
check pkg-config "$work/make/dissolve"

# Every public header stands on its own, and none needs a header that is not installed.
(cd "$work/prefix/include" && find qzil -name '*.h' | sort) >"$work/headers"
while read -r header; do
    echo "#include <$header>" | "${CXX:-g++}" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -x c++ \
        -I "$work/prefix/include" -
done <"$work/headers"
echo "consumer: $(wc -l <"$work/headers") headers stand on their own"

if [ -x "$work/prefix/bin/qzil" ]; then
    "$work/prefix/bin/qzil" list >/dev/null
    echo "consumer: the installed command runs"
fi
