#!/usr/bin/env bash
# Validates `QUARN rpc --describe`. FOLDER gets the npm packages of package-lock.json.
#   run.sh QUARN FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
"$here/packages.sh" "$2"
"$1" rpc --describe | node "$here/validate.mjs" "$2" "$here/../quarn/rpc/golden"
