#!/usr/bin/env bash
# Validates `QUARN rpc --describe`. FOLDER gets the npm packages of package-lock.json.
#   run.sh QUARN FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$2"
if ! cmp -s "$here/package-lock.json" "$2/.installed"; then
  cp "$here/package.json" "$here/package-lock.json" "$2"
  npm ci --prefix "$2" --no-audit --no-fund --ignore-scripts --silent
  cp "$here/package-lock.json" "$2/.installed"
fi
"$1" rpc --describe | node "$here/validate.mjs" "$2" "$here/../quarn/rpc/golden"
