#!/bin/sh
# check_script.sh WINE LIBRARIES MATERIAL SCRIPT EXPECTED
# Registers quorvanti.dll of the directory LIBRARIES, lets Windows' script host run the script with what the program MATERIAL
# writes, and compares what it says with the file EXPECTED. Nothing stays registered.
set -eu
wine=$1
libraries=$2
material=$3
script=$4
expected=$5
work=$(mktemp -d)
# The script host writes its lines into a file: a pipe would also be read by whatever Wine leaves running.
finish() {
    "$wine" regsvr32 /s /u "Z:$libraries/quorvanti.dll" >"$work/gone" 2>&1 || true
    rm -rf "$work"
}
trap finish EXIT

"$wine" "$material" "Z:$work" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
"$wine" regsvr32 /s "Z:$libraries/quorvanti.dll" >"$work/log" 2>&1 || { echo "regsvr32 fails: $?" >&2; exit 1; }
"$wine" cscript //nologo "Z:$script" "Z:$libraries/kavcrypto.dll" "Z:$work/own.p12" opensesame "Z:$work/own.pem" \
    "Z:$work/trusted.pem" "Z:$work/logon" "Z:$work/expired" >"$work/said" 2>"$work/log" ||
    { echo "the script fails: $?" >&2; cat "$work/said" "$work/log" >&2; exit 1; }
tr -d '\r' <"$work/said" | sed -E 's/(seconds left:) [1-9][0-9]*$/\1 some/' | diff -u "$expected" - >&2
