#!/bin/sh
# Counts the instructions of one warm evaluation under callgrind: noise has no part in it. Two counts: the whole call, and
# what remains without the signature operation.
#   count_instructions.sh BIN budget FILE SCENARIO    compares a scenario with its line in the budget
#   count_instructions.sh BIN growth WHAT             how the count grows: length, trusted or trace
#   count_instructions.sh BIN print                   prints a new budget
# BIN is the directory of warm_calls and warm_lookup.
set -eu
bin=$1
mode=$2
shift 2
data=$(dirname "$0")/data

calls=40
warm_ups=3 # of both programs
slack=10   # percent

# OpenSSL chooses its code by the processor; here every machine is to count the same.
OPENSSL_ia32cap=0:0
export OPENSSL_ia32cap

collected() { # collected FUNCTION OPTION PROGRAM ARGUMENTS...: instructions in the function and below, in all calls
    function=$1
    option=$2
    shift 2
    log=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null "--toggle-collect=$function" "$option" "$@" 2>&1) || {
        echo "$log" >&2
        return 1
    }
    echo "$log" | sed -n 's/.*Collected *: *\([0-9][0-9]*\).*/\1/p'
}

count() { # count FUNCTIONS OPTION PROGRAM ARGUMENTS...: sets whole and outside, which is without the functions
    functions=$1
    shift
    whole=$(collected quorvantiCountedCalls "$@")
    signature=0
    for function in $functions; do
        part=$(collected "$function" "$@")
        if [ -z "$whole" ] || [ -z "$part" ] || [ "$part" -eq 0 ]; then
            echo "callgrind counted nothing for $*" >&2
            exit 1
        fi
        signature=$((signature + part))
    done
    whole=$((whole / calls))
    outside=$((whole - signature / (calls + warm_ups)))
}
count_scenario() { # count_scenario SCENARIO [TRACE-LEVEL]
    scenario=$1
    shift
    case "$scenario" in
    hs256) signature_operation="EVP_DigestUpdate EVP_DigestFinal_ex" ;;
    *) signature_operation=EVP_PKEY_verify ;;
    esac
    count "$signature_operation" --instr-atstart=yes "$bin/warm_calls" "$data" "$scenario" "$calls" "$@"
}

check_budget() { # check_budget FILE SCENARIO
    read -r whole_budget outside_budget <<EOF
$(sed -n "s/^$2  *//p" "$1")
EOF
    [ -n "$outside_budget" ] || {
        echo "$1 has no line for $2"
        exit 1
    }
    count_scenario "$2"
    echo "$2: whole call $whole instructions, budget $whole_budget"
    echo "$2: without the signature operation $outside instructions, budget $outside_budget"
    if [ $((whole * 100)) -gt $((whole_budget * (100 + slack))) ] ||
        [ $((outside * 100)) -gt $((outside_budget * (100 + slack))) ]; then
        echo "More than $slack % above the budget. docs/performance.md tells how to find out why."
        exit 1
    fi
}

# Between any two lengths a character costs the same, and not much.
growth_length() {
    last_length=0
    for scenario in ec-length1 ec-length2 ec-length3 ec-length4; do
        length=$(wc -c <"$data/$scenario.ticket")
        count_scenario "$scenario"
        echo "$length characters: $outside instructions without the signature operation"
        if [ "$last_length" -ne 0 ] && [ $((outside - last_outside)) -gt $((50 * (length - last_length))) ]; then
            echo "More than 50 instructions for each further character."
            exit 1
        fi
        last_length=$length
        last_outside=$outside
    done
}

# Always over the same signature, so that only the search can make a difference.
growth_trusted() {
    first=""
    for certificates in 1 100 10000; do
        found=$(collected quorvantiCountedCalls --instr-atstart=no "$bin/warm_lookup" "$certificates" "$calls")
        found=$((found / calls))
        echo "$certificates trusted certificates: $found instructions for a verification"
        [ -n "$first" ] || first=$found
        if [ "$found" -eq 0 ] || [ $((found - first)) -gt 500 ]; then
            echo "More than 500 more than with one."
            exit 1
        fi
    done
}

# Level 1 has nothing to say about a ticket that is accepted.
growth_trace() {
    count_scenario rsa-bare
    untraced=$outside
    count_scenario rsa-bare 1
    echo "without trace $untraced instructions, at level 1 $outside, the signature operation aside"
    if [ $((outside * 100)) -gt $((untraced * 101)) ]; then
        echo "More than 1 % more."
        exit 1
    fi
}

case "$mode" in
budget) check_budget "$@" ;;
growth) "growth_$1" ;;
print)
    for scenario in rsa-bare rsa-full ec-bare ec-full dsa-bare dsa-full chained first-seen password hs256 rs256; do
        count_scenario "$scenario"
        printf '%-12s %8d %8d\n' "$scenario" "$whole" "$outside"
    done
    ;;
*)
    echo "count_instructions.sh knows no $mode" >&2
    exit 2
    ;;
esac
