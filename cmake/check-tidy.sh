#!/usr/bin/env bash
# clang-tidy with .clang-tidy over the product's sources; BUILD is a configured build folder (compile_commands.json).
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
# clang does not read gcc's precompiled headers; the product's sources use none.
git ls-files --cached --others --exclude-standard 'Quarn*/*.cpp' 'quarn/*.cpp' | grep -v '_darwin\.cpp$' |
  xargs -P 2 -n 4 clang-tidy --quiet -p "$build" 2> >(grep -v 'warnings generated\|warnings treated\|Suppressed\|Use -header-filter' >&2)
