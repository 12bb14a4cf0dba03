#!/usr/bin/env bash
# A room includes only rooms below it. Reads the #include lines and names every edge that leads up or sideways.
set -euo pipefail
cd "$(dirname "$0")/.."
exec python3 cmake/include_edges.py .
