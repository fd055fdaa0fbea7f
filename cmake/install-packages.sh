#!/bin/sh
# Installs what a build of everything needs and is not there yet: install-packages.sh [MORE_PACKAGES...].
# For Debian and its relatives; elsewhere it names the packages and leaves the rest to you.
set -eu

packages="g++ cmake ninja-build ccache pkg-config libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libpng-dev
libjpeg-dev libtiff-dev ffmpeg python3 clang-format $*"

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

echo "install-packages: installing$missing"
as_root=''
[ "$(id -u)" -eq 0 ] || as_root=sudo
$as_root apt-get update
# shellcheck disable=SC2086
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
