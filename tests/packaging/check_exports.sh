#!/bin/sh
# check_exports.sh LIBRARY [LIST HEADER]...
# What the library exports are exactly the names in the lists, and the names in each list are exactly the functions that its
# header declares. The last header may be missing. OBJDUMP reads a DLL.
set -eu
library=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

: >"$work/names"
lists=""
while [ $# -gt 0 ]; do
    list=$1
    lists="$lists $list"
    LC_ALL=C sort -c "$list"
    cat "$list" >>"$work/names"
    if [ $# -gt 1 ]; then
        header=$2
        sed -nE 's/^(QUORVANTI_API|QUORVANTI_SSF_API|JNIEXPORT) [^(]*[ *]([A-Za-z0-9_]+)\(.*/\2/p' "$header" |
            LC_ALL=C sort >"$work/declared"
        diff -u "$list" "$work/declared" || { echo "declarations in $header differ from $list" >&2; exit 1; }
        shift
    fi
    shift
done

LC_ALL=C sort "$work/names" >"$work/listed"
exported_names() {
    case "$library" in
    *.dll) "${OBJDUMP:-objdump}" -p "$library" | sed -n '/^\[Ordinal\/Name Pointer\] Table$/,/^$/s/^\t\[ *[0-9]*\] //p' ;;
    *)
        nm --dynamic --defined-only "$library" | awk '$2 ~ /^[A-Z]$/ { print $3 }' |
            grep -vE "^__(asan|odr_asan|ubsan|tsan|sancov|start___sancov|stop___sancov)"
        ;;
    esac
}
exported_names | LC_ALL=C sort >"$work/exported"
diff -u "$work/listed" "$work/exported" || { echo "exports of $library differ from$lists" >&2; exit 1; }
