#!/usr/bin/env bash
# Checks that every #include goes to a lower floor, and prints the ones that do not.
set -euo pipefail
cd "$(dirname "$0")/.."
exec python3 cmake/include_edges.py .
