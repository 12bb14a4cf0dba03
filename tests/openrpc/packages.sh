#!/usr/bin/env bash
# Fetches the npm packages of package-lock.json into FOLDER, unless they are there.
#   packages.sh FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
exec 9> "$1/.lock"
flock 9
cmp -s "$here/package-lock.json" "$1/.installed" && exit
cp "$here/package.json" "$here/package-lock.json" "$1"
npm ci --prefix "$1" --no-audit --no-fund --ignore-scripts --silent
cp "$here/package-lock.json" "$1/.installed"
