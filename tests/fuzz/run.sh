#!/usr/bin/env bash
# usage: run.sh BUILD_FOLDER SECONDS
# With 0 seconds every target reads the seeds in corpus/ once. Else:
# Runs every fuzz target of a build for so many seconds, one after the other, from the seeds in corpus/ and with the words
# of its .dict. What a target learns, and an input that breaks it, stay in the build folder. Fails when one of them fails.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$(cd "$1" && pwd)"
seconds="$2"

failed=0
for target in "$build"/bin/*_fuzz; do
  name="$(basename "$target" _fuzz)"
  learned="$build/fuzz/$name"
  mkdir -p "$learned"
  log="$learned.log"
  words=()
  if [ -f "$here/$name.dict" ]; then words=(-dict="$here/$name.dict"); fi
  if [ "$seconds" = 0 ]; then
    if "$target" -runs=0 -timeout=20 -rss_limit_mb=2048 "$here/corpus/$name" >"$log" 2>&1; then
      echo "$name: every seed read"
    else
      echo "$name: failed, see $log" >&2
      failed=1
    fi
    continue
  fi
  if "$target" -max_total_time="$seconds" -max_len=4096 -timeout=5 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$build/fuzz/$name-" "${words[@]}" "$learned" "$here/corpus/$name" >"$log" 2>&1; then
    echo "$name: $(grep '^Done' "$log"), no finding"
  else
    echo "$name: failed, see $log" >&2
    failed=1
  fi
done
exit "$failed"
