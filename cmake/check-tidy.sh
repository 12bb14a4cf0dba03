#!/usr/bin/env bash
# clang-tidy with .clang-tidy over the product's sources; BUILD is a configured build folder (compile_commands.json).
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
# clang does not read gcc's precompiled headers, so it gets a configuration of its own; nothing is built there.
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DQUARN_TESTS=OFF -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON > /dev/null
git ls-files --cached --others --exclude-standard 'Quarn*/*.cpp' 'quarn/*.cpp' | grep -v '_darwin\.cpp$' |
  xargs -P 2 -n 4 clang-tidy --quiet -p "$build" 2> >(grep -v 'warnings generated\|warnings treated\|Suppressed\|Use -header-filter' >&2)
