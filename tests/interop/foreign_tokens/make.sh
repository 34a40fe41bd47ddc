#!/bin/sh
# make.sh DIRECTORY: installs the makers there, unless they are there already, and has them write DIRECTORY/tokens.json.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
cp "$here/package.json" "$here/make.mjs" .
if ! cmp -s "$here/package-lock.json" package-lock.json; then
    cp "$here/package-lock.json" package-lock.json
    npm ci --ignore-scripts --no-audit --no-fund || {
        rm package-lock.json
        exit 1
    }
fi
node make.mjs tokens.json
