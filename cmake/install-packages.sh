#!/usr/bin/env bash
# Installs the missing packages of cmake/packages.txt: those before the first "[GROUP]" line, and those of the groups in the
# arguments ("test"). Needs root only if a package is missing.
set -euo pipefail
cd "$(dirname "$0")"

# Another package may bring it, as some nodejs packages bring npm.
provides=$(dpkg-query -W -f='${Provides}, ' 2>/dev/null | tr -d ' ' | tr ',' '\n' | sed 's/(.*//')
provided() { grep -qx "$1" <<< "$provides"; }

missing=()
group=""
while read -r name _; do
  case "$name" in
    "" | "#"*) continue ;;
    "["*"]") group="${name:1:-1}"; continue ;;
  esac
  case " $* " in *" $group "*) ;; *) [ -z "$group" ] || continue ;; esac
  dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q "install ok installed" && continue
  provided "$name" || missing+=("$name")
done < packages.txt
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "These Debian packages are missing: ${missing[*]}" >&2
  echo "Install them as root:  apt-get install ${missing[*]}" >&2
  exit 1
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
