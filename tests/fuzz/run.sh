#!/usr/bin/env bash
# usage: run.sh BUILD_FOLDER SECONDS
# Runs the fuzz targets of a build one after the other, each for SECONDS, with the seeds in corpus/ and the words of its
# .dict. New inputs and crashing inputs stay in the build folder. Fails if a target fails.
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
  length=4096
  if [ "$name" = scan ]; then length=65536; fi
  if [ -f "$here/$name.dict" ]; then words=(-dict="$here/$name.dict"); fi
  if "$target" -max_total_time="$seconds" -max_len="$length" -timeout=5 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$build/fuzz/$name-" "${words[@]}" "$learned" "$here/corpus/$name" >"$log" 2>&1; then
    echo "$name: $(grep '^Done' "$log"), no finding"
  else
    echo "$name: failed, see $log" >&2
    failed=1
  fi
done
exit "$failed"
