#!/usr/bin/env bash
# Usage: check-tidy.sh BUILD. Runs clang-tidy on all sources of the libraries, the command and the benchmarks. BUILD is a
# separate build folder. Ninja runs clang-tidy like a compiler: it checks a file again if the file, one of our headers that
# it includes, its flags or .clang-tidy changed. The files of a library are checked in batches, as a first build compiles them: most
# of the time goes to the headers, which a batch reads once.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
# clang cannot read GCC's precompiled headers, so it needs its own configuration. Nothing is compiled there.
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
  -DQUARN_TESTS=OFF -DQUARN_BENCHMARKS=ON -DQUARN_UNITY=ON > /dev/null
# clang-tidy reports the included headers only in the format of Microsoft's compiler. benchmarks/floor is excluded: it is
# the reference for measurements and stays unchanged.
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
# Hide the number of findings in system headers.
ninja -C "$build" -f tidy.ninja -j "$(nproc)" -k 0 --quiet 2>&1 | sed '/ warnings\{0,1\} generated\.$/d'
