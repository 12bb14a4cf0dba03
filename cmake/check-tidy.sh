#!/usr/bin/env bash
# clang-tidy with .clang-tidy over every source of libraries, command and benchmarks; BUILD is a folder of its own for it.
# Ninja runs it as it would run a compiler: a file is looked at again when it, a header of this tree that it reads, its
# flags or .clang-tidy changed.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
# clang does not read gcc's precompiled headers, so it gets a configuration of its own; nothing is compiled there.
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
  -DQUARN_TESTS=OFF -DQUARN_BENCHMARKS=ON > /dev/null
# Which headers were read is told in the one form that clang-tidy lets through, that of Microsoft's compiler. What
# benchmarks/floor holds is the yardstick and stays as it came.
jq --raw-output --arg root "$PWD" '
  def escaped: gsub("(?<special>[$ :])"; "$\(.special)");
  "builddir = tidy",
  "rule tidy",
  "  command = clang-tidy --quiet $in -- $flags -Xclang --show-includes && touch $out",
  "  deps = msvc",
  "  description = clang-tidy $in",
  (.[] | (.file | ltrimstr($root)) as $name | select($name | startswith("/benchmarks/floor/") | not) |
    "build \("tidy" + $name | escaped): tidy \(.file | escaped) | \($root + "/.clang-tidy" | escaped)",
    "  flags = \(.command | sub("^\\S+ "; "") | gsub("[$]"; "$$"))")
' "$build/compile_commands.json" > "$build/tidy.ninja"
# How many findings lie in other people's headers is no news.
ninja -C "$build" -f tidy.ninja -j "$(nproc)" -k 0 --quiet 2>&1 | sed '/ warnings\{0,1\} generated\.$/d'
