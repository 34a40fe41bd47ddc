#!/bin/sh
# check_examples.sh BUILD EXAMPLES CONSUMER
# Installs the build into a prefix of its own, builds the examples against it through the CMake package and through
# pkg-config, and lets each of the four programs accept and refuse tickets and issue them for a next system.
set -eu
build=$1
examples=$2
consumer=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset SSF_LIB SSF_HASH SSF_INCLUDE_CERT KAV_EXT_TRC KAV_EXT_TRL KAV_EXT_CODEPAGE KAVSYSTEMNAME KAVSYSTEMCLIENT LD_LIBRARY_PATH

prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$consumer" -B "$work/cmake" -G Ninja -DEXAMPLES="$examples" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null

pc=$(find "$prefix" -name quorvanti.pc)
libraries=$(dirname "$(dirname "$pc")")
export PKG_CONFIG_PATH="${pc%/*}"
# shellcheck disable=SC2046  # the flags are meant to split
cc -std=c11 -o "$work/handler_c" "$examples/request_handler.c" $(pkg-config --cflags --libs quorvanti) -Wl,-rpath,"$libraries"
# shellcheck disable=SC2046
c++ -std=c++20 -o "$work/handler_cpp" "$examples/request_handler.cpp" $(pkg-config --cflags --libs quorvanti) \
    -Wl,-rpath,"$libraries"

# A portal that issues tickets, and our own key store.
export KEYSTORE_PASSWORD=opensesame
tool="$prefix/bin/sso2ticket"
openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj "/CN=Portal" -keyout "$work/portal.key" -out "$work/portal.pem" \
    2>/dev/null
"$tool" keystore create "$work/own.p12" --subject "CN=WEB" --key ec-p256 --password-env KEYSTORE_PASSWORD >/dev/null
"$tool" keystore export-certificate "$work/own.p12" --password-env KEYSTORE_PASSWORD >"$work/own.pem"

# issue HOURS: a ticket of the portal, percent-encoded as in a cookie
issue() {
    "$build/bin/issue_ticket" content "$work/content" user=JDOE client=100 system=PRD created=now "hours=$1"
    openssl cms -sign -binary -outform DER -md sha256 -in "$work/content" -out "$work/signature" \
        -signer "$work/portal.pem" -inkey "$work/portal.key"
    "$build/bin/issue_ticket" text "$work/content" "$work/signature" | sed 's/+/%2B/g; s|/|%2f|g; s/=/%3D/g'
}

fail() {
    echo "$1" >&2
    cat "$work/answers" "$work/log" >&2
    exit 1
}

{ issue 8; echo; issue -1; echo; echo "no ticket"; } >"$work/requests"
for handler in "$work/cmake/handler_c" "$work/cmake/handler_cpp" "$work/handler_c" "$work/handler_cpp"; do
    "$handler" "$work/portal.pem" "$work/own.p12" DEV 200 <"$work/requests" >"$work/answers" 2>"$work/log" ||
        fail "$handler does not run"
    [ "$(sed -n 1p "$work/answers")" = "200 JDOE of PRD" ] || fail "$handler refuses a good ticket"
    [ "$(sed -n 3,9p "$work/answers" | tr '\n' ' ')" = "401 401 " ] || fail "$handler does not refuse what it has to"
    grep -q "refused: 4, crypto library 0" "$work/log" || fail "$handler does not log the expired ticket"
    grep -q "refused: 1281, crypto library 0" "$work/log" || fail "$handler does not log the text that is no ticket"

    # The next system takes the ticket that was made for it, and no other does.
    sed -n '2s/^to DEV: //p' "$work/answers" >"$work/ticket"
    "$tool" verify --assertion --system-id DEV --client 200 --profile "$work/own.pem" "@$work/ticket" >"$work/verified" ||
        fail "the next system refuses the ticket of $handler"
    grep -q "^user  *JDOE$" "$work/verified" || fail "the ticket of $handler is not for JDOE"
    status=0
    "$tool" verify --assertion --system-id QAS --client 200 --profile "$work/own.pem" --json "@$work/ticket" \
        >"$work/verified" || status=$?
    [ "$status" -eq 1 ] || fail "another system accepts the ticket of $handler"
    grep -q '"code": 23' "$work/verified" || fail "another system refuses the ticket of $handler for another reason"
done
