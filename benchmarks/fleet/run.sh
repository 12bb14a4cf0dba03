#!/usr/bin/env bash
# Simulates a fleet: makes the scans of MACS Macs, compares and exports them, loads all into DuckDB and asks questions.
#   run.sh QUARN FOLDER [MACS] [APP]
# FOLDER is replaced; FOLDER-packages gets the npm packages of package.json.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
quarn=$1 folder=$2 macs=${3:-1000} app=${4:-com.photolab.app}
packages=$folder-packages
mkdir -p "$packages"
if ! cmp -s "$here/package.json" "$packages/.installed"; then
  cp "$here/package.json" "$packages"
  npm install --prefix "$packages" --no-package-lock --no-audit --no-fund --ignore-scripts --silent
  cp "$here/package.json" "$packages/.installed"
fi

seconds() { date +%s.%N; }
since() { awk -v from="$1" -v to="$(seconds)" 'BEGIN { printf "%.1f s", to - from }'; }

start=$(seconds)
python3 "$here/make_scans.py" --quarn "$quarn" --macs "$macs" "$folder"
echo "make $macs Macs, two scans each: $(since "$start")"
echo "scans: $(cat "$folder"/macs/*/new.quarn | wc -c) bytes in $(ls "$folder"/macs/*/new.quarn | wc -l) files"

start=$(seconds)
for mac in "$folder"/macs/*; do
  sqlite3 -readonly "$mac/new.quarn" "SELECT '${mac##*/}', allocated FROM leftovers WHERE bundle_identifier = '$app' OR name = '$app'"
done >"$folder/holders.txt"
echo "Macs that hold leftovers of $app, with the sqlite3 shell: $(wc -l <"$folder/holders.txt") in $(since "$start")"

start=$(seconds)
for mac in "$folder"/macs/*; do "$quarn" diff "$mac/old.quarn" "$mac/new.quarn" --ndjson >"$mac/changes.ndjson"; done
echo "quarn diff of each Mac: $(since "$start")"

start=$(seconds)
for mac in "$folder"/macs/*; do "$quarn" scan --scan "$mac/new.quarn" --export "$mac/tables" >/dev/null; done
echo "quarn scan --export of each Mac: $(since "$start")"

start=$(seconds)
node "$here/query.mjs" "$packages" "$folder/macs" "$app"
echo "DuckDB with loading: $(since "$start")"
