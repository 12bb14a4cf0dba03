#!/usr/bin/env bash
# Checks the types that QUARN writes with `tsc --strict` and `mypy --strict`, together with the example clients and with code
# that must not compile. Runs both clients on the volume SAMPLE and compares what they print. FOLDER gets the npm packages.
#   clients.sh QUARN FOLDER SAMPLE
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples
"$here/packages.sh" "$2"
tools=$(cd "$2" && pwd)
work=$tools/clients
rm -rf "$work"
mkdir -p "$work"
"$1" rpc --types typescript > "$work/quarn.d.ts"
"$1" rpc --types python > "$work/quarn_rpc.py"
cp "$examples/typescript/quarn-client.ts" "$examples/python/quarn_client.py" "$here/wrong.ts" "$here/wrong.py" "$work"
cd "$work"

ln -sfn "$tools/node_modules" node_modules
echo '{"type": "module"}' > package.json
tsc=(node "$tools/node_modules/typescript/bin/tsc" --strict --noUncheckedIndexedAccess --exactOptionalPropertyTypes
     --target es2022 --module nodenext --types node)
"${tsc[@]}" quarn-client.ts quarn.d.ts
"${tsc[@]}" --noEmit wrong.ts

mypy --strict --no-error-summary quarn_client.py quarn_rpc.py
mypy --strict --warn-unused-ignores --no-error-summary wrong.py

words=("Lumen Notes" "$1" --volume "$3" --home /Users/ann)
node quarn-client.js "${words[@]}" | sed 's/after [0-9]* bytes/after … bytes/' > typescript.txt
PYTHONDONTWRITEBYTECODE=1 python3 quarn_client.py "${words[@]}" | sed 's/after [0-9]* bytes/after … bytes/' > python.txt
grep -q 'artifacts: [0-9]* new' typescript.txt
grep -q 'param at' typescript.txt
diff typescript.txt python.txt
