#!/usr/bin/env bash
# Fails if a source file is not formatted. With --fix, formats the files.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
[ "${1:-}" = "--fix" ] && mode=(-i)
git ls-files -z --cached --others --exclude-standard '*.cpp' '*.h' '*.h.in' | grep -zv '\.h\.in$' | xargs -0 -P 2 -n 40 clang-format "${mode[@]}"
