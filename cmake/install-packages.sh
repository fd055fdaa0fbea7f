#!/bin/sh
# Installs what is not there yet: install-packages.sh build|all [MORE_PACKAGES...]. `build` is what the library and the
# command are built with, `all` also what tests, benchmarks and checks need.
# For Debian and its relatives; elsewhere it names the packages and leaves the rest to you.
set -eu

packages="g++ cmake ninja-build pkg-config libcli11-dev libpng-dev libjpeg-dev libtiff-dev libopenexr-dev libwebp-dev
libexif-dev"
tests="ccache libgtest-dev libgmock-dev libbenchmark-dev ffmpeg python3 clang-format"

goal=${1:-all}
[ $# -eq 0 ] || shift
case "$goal" in
    build) packages="$packages $*" ;;
    all) packages="$packages $tests $*" ;;
    *)
        echo "install-packages: '$goal' is neither build nor all" >&2
        exit 2
        ;;
esac

if ! command -v apt-get >/dev/null; then
    echo "install-packages: no apt-get here; these Debian packages, or what they are called here, have to be there:"
    echo "$packages"
    exit 0
fi

missing=''
for package in $packages; do
    status=$(dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null || true)
    # A package may be there under several architectures, and some are names that another package provides.
    case "$status" in
        *installed*) ;;
        *) missing="$missing $package" ;;
    esac
done
[ -n "$missing" ] || exit 0

as_root=''
if [ "$(id -u)" -ne 0 ]; then
    as_root=sudo
    if ! command -v sudo >/dev/null; then
        echo "install-packages: there is no sudo here; as root: apt-get install --no-install-recommends$missing" >&2
        exit 1
    fi
fi
echo "install-packages: installing$missing"
$as_root apt-get update
# shellcheck disable=SC2086
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
