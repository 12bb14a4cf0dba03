#!/usr/bin/env bash
# Builds the trees, runs our programs, the floor and other tools alternately, prints medians, ratios and peaks. The argument
# is our command; the other programs lie beside it. Installs the tools that are missing when run as root; leaves out what
# cannot be had. Further arguments go to side_by_side.py.
set -euo pipefail
cd "$(dirname "$0")/.."
bin=$(dirname "$1")
if [ "$(id -u)" -eq 0 ]; then
  for tool in gdu ncdu bfs; do
    command -v "$tool" >/dev/null || apt-get install -y -qq --no-install-recommends "$tool" >/dev/null 2>&1 || true
  done
fi
exec python3 benchmarks/side_by_side.py --bin "$bin" "${@:2}"
