#!/bin/sh
# check_imports.sh OBJDUMP FILE...
# The DLLs and programs for Windows need only DLLs of the system and one another.
set -eu
objdump=$1
shift

# What every Windows since version 7 has.
system="ADVAPI32.dll CRYPT32.dll KERNEL32.dll msvcrt.dll ole32.dll OLEAUT32.dll USER32.dll WS2_32.dll"
status=0
for file; do
    imports=$("$objdump" -p "$file" | sed -n 's/^.*DLL Name: //p')
    [ -n "$imports" ] || { echo "$file has no import table" >&2; exit 1; }
    for needed in $imports; do
        case " $system quorvanti.dll " in
        *" $needed "*) ;;
        *)
            echo "$file needs $needed" >&2
            status=1
            ;;
        esac
    done
done
exit $status
