#!/bin/sh
# check_zip.sh TREE BUILD OBJDUMP SOURCE
# Makes the zip and looks at it as somebody does who gets nothing else: it holds what is listed, its checksums are right,
# SOURCE links with each import library, and what comes of it runs under Wine with nothing but the zip's own files beside it.
set -eu
tree=$1
build=$2
objdump=$3
source=$4
wine=$tree/scripts/wine
here=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset SSF_LIB KAV_EXT_TRC KAV_EXT_TRL

fail() {
    echo "$1" >&2
    exit 1
}

# make NAME: $work/NAME.zip, and the tree that is in it as $work/NAME
make() {
    (cd "$build" && SOURCE_DATE_EPOCH=1700000000 cpack -B "$work/$1.packed") >"$work/log" || fail "$(cat "$work/log")"
    mkdir "$work/$1.tree"
    (cd "$work/$1.tree" && cmake -E tar xf "$work/$1.packed/"*.zip)
    mv "$work/$1.tree/"* "$work/$1"
}
make first
make second
cmp "$work/first.packed/"*.zip "$work/second.packed/"*.zip || fail "the same files make another zip"
(cd "$work/first.packed" && sed -n 's/^\([0-9a-f]*\)  \(.*\.zip\)$/\1  \2/p' ./*.sha256 | sha256sum --check --strict --quiet)

zip="$work/first"
(cd "$zip" && find . -type f | sed 's|^\./||' | LC_ALL=C sort) >"$work/contents"
diff -u "$here/windows/zip_contents.txt" "$work/contents" || fail "the zip holds something else"
(cd "$zip" && sha256sum --check --strict --quiet SHA256SUMS)
[ "$(wc -l <"$zip/SHA256SUMS")" -eq "$(($(wc -l <"$work/contents") - 1))" ] || fail "some files have no checksum"
"$here/check_imports.sh" "$objdump" "$zip/bin/"*.dll "$zip/bin/"*.exe
grep -aqF "$tree" "$zip/bin/"* && fail "what is delivered tells where it was built"

# run PROGRAM ARGUMENTS: what it prints is in $work/said, not in a pipe, which whatever Wine leaves running would hold open
run() {
    (cd "$zip/bin" && "$wine" "$@") >"$work/said" 2>&1
}
# refuses PROGRAM ARGUMENTS: the library starts with its crypto library and refuses the ticket "AAAA" as malformed
refuses() {
    status=0
    run "$@" || status=$?
    [ "$status" -eq 1 ] || fail "$1 ended with $status: $(cat "$work/said")"
}
cc=x86_64-w64-mingw32-gcc-posix
cp "$source" "$zip/bin/example.c"
$cc -std=c11 -I "$zip/include" -o "$zip/bin/mingw.exe" "$source" "$zip/lib/libquorvanti.dll.a"
$cc -std=c11 -I "$zip/include" -o "$zip/bin/msvc.exe" "$source" "$zip/lib/quorvanti.lib"
PKG_CONFIG_LIBDIR="$zip/lib/pkgconfig"
export PKG_CONFIG_LIBDIR
# shellcheck disable=SC2046  # the flags are meant to split
$cc -std=c11 -o "$zip/bin/pkg-config.exe" "$source" $(pkg-config --cflags --libs quorvanti)
cmake -S "$here/consumer" -B "$work/cmake" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$tree/cmake/mingw-w64-x86-64.cmake" \
    -DCMAKE_PREFIX_PATH="$zip" -DSOURCE="$source" >"$work/log" || fail "$(cat "$work/log")"
cmake --build "$work/cmake" >"$work/log" || fail "$(cat "$work/log")"
cp "$work/cmake/consumer.exe" "$zip/bin/cmake.exe"
for program in mingw msvc pkg-config cmake; do
    imported=$("$objdump" -p "$zip/bin/$program.exe")
    echo "$imported" | grep -qF 'DLL Name: quorvanti.dll' || fail "$program.exe does not import the library"
    refuses ./$program.exe AAAA example.c
done
refuses ./sso2ticket.exe verify --profile example.c AAAA
# The dependency as the guide shows it makes the class known to a program, with nothing in the registry.
dependency=$(sed -n '/^    <dependency>$/,/^    <\/dependency>$/s/^    //p' "$zip/README.md")
[ -n "$dependency" ] || fail "README.md shows no dependency"
sed '/@dependency@/d' "$here/windows/com_client.manifest" >"$work/plain.manifest"
awk -v dependency="$dependency" '/@dependency@/ { print dependency; next } { print }' \
    "$here/windows/com_client.manifest" >"$work/dependent.manifest"
for kind in plain dependent; do
    echo "1 24 \"$kind.manifest\"" >"$work/$kind.rc"
    (cd "$work" && x86_64-w64-mingw32-windres -O coff -o "$kind.o" "$kind.rc")
    x86_64-w64-mingw32-g++-posix -std=c++20 -static -I "$zip/include" -o "$zip/bin/$kind.exe" \
        "$here/windows/com_client_win32.cpp" "$work/$kind.o" -lole32
done
run ./dependent.exe || fail "no object by the manifest: $(cat "$work/said")"
[ "$(tr -d '\r' <"$work/said")" = "version 15" ] || fail "the object answered: $(cat "$work/said")"
run ./plain.exe && fail "the class is there without the manifest, so this proves nothing"
grep -q '^no class' "$work/said" || fail "without the manifest: $(cat "$work/said")"
