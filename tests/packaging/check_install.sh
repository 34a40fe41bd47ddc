#!/bin/sh
# check_install.sh BUILD SOURCE CONSUMER
# Installs the build into a prefix of its own, moves it, and builds SOURCE against it through the CMake package and through
# pkg-config; both programs and the installed tool start the installed library with the installed crypto library.
set -eu
build=$1
source=$2
consumer=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset SSF_LIB KAV_EXT_TRC KAV_EXT_TRL LD_LIBRARY_PATH

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"
pc=$(find "$work/prefix" -name quorvanti.pc)
libraries=$(dirname "$(dirname "$pc")")

# refuses COMMAND...: the library starts and refuses the ticket "AAAA" as malformed
refuses() {
    status=0
    answer=$("$@" 2>&1) || status=$?
    [ "$status" -eq 1 ] || { echo "$1 ended with $status: $answer" >&2; exit 1; }
}

cmake -S "$consumer" -B "$work/cmake" -G Ninja -DSOURCE="$source" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
refuses "$work/cmake/consumer" AAAA "$source"

export PKG_CONFIG_PATH="${pc%/*}"
# shellcheck disable=SC2046  # the flags are meant to split
cc -std=c11 -o "$work/consumer" "$source" $(pkg-config --cflags --libs quorvanti) -Wl,-rpath,"$libraries"
refuses "$work/consumer" AAAA "$source"
for header in voraksso ssf ssf_kavsecu; do
    # shellcheck disable=SC2046  # the flags are meant to split
    echo "#include <quorvanti/$header.h>" | cc -std=c11 -x c -fsyntax-only $(pkg-config --cflags quorvanti) -
done

refuses "$work/prefix/bin/sso2ticket" verify --profile "$source" AAAA
[ "$(pkg-config --modversion quorvanti)" = "$("$work/prefix/bin/sso2ticket" --version | cut -d' ' -f2)" ]
