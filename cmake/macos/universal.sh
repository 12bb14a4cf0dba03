#!/usr/bin/env bash
# Joins what was built for arm64 and x86_64 into BUILD/universal: the command, and libplist beside it.
#   universal.sh BUILD
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cd "$1"
mkdir -p universal
"$here/macho.py" join universal/quarn arm64/bin/quarn x86_64/bin/quarn
"$here/macho.py" join universal/libplist-2.0.3.dylib {arm64,x86_64}/lib/libplist-2.0.3.dylib
