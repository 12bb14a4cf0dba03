#!/usr/bin/env bash
# Builds the trees, runs our programs, the floor and other tools alternately, and prints medians, ratios and peak memory.
# The first argument is our command; the other programs are in the same folder. As root, installs missing tools; skips
# tools that it cannot install. Passes other arguments to side_by_side.py.
set -euo pipefail
cd "$(dirname "$0")/.."
bin=$(dirname "$1")
if [ "$(id -u)" -eq 0 ]; then
  for tool in gdu ncdu bfs; do
    command -v "$tool" >/dev/null || apt-get install -y -qq --no-install-recommends "$tool" >/dev/null 2>&1 || true
  done
fi
# A linker writes a file in pieces, and the system then caches it in small pieces: the program runs slower than an
# installed one, which was copied. So measure copies. (The build copies `quarn` itself.)
for program in "$bin"/*; do
  [ -f "$program" ] && [ -x "$program" ] && cp -p "$program" "$program.copy" && mv "$program.copy" "$program"
done
exec python3 benchmarks/side_by_side.py --bin "$bin" "${@:2}"
