#!/usr/bin/env bash
# Fetches the cross compiler that compiler.lock names into FOLDER, checks it against the lock and unpacks it there. Does nothing
# when it is there already. npm asks the registry that the machine is set up for.
#   fetch-compiler.sh FOLDER
set -euo pipefail
lock=$(cd "$(dirname "$0")" && pwd)/compiler.lock
folder=$1
locked() { sed -n "s/^$1 \+//p" "$lock"; }
package=$(locked package) version=$(locked version) integrity=$(locked integrity)
[ "$(cat "$folder/.unpacked" 2>/dev/null)" = "$integrity" ] && exit 0

command -v npm >/dev/null || { echo "fetch-compiler: npm is missing (Debian: apt-get install npm)" >&2; exit 1; }
rm -rf "$folder"
mkdir -p "$folder"
echo "Fetching $package $version"
archive=$folder/$(npm pack --silent --ignore-scripts --pack-destination "$folder" "$package@$version" 2>/dev/null | tail -1)
[ -f "$archive" ] || { echo "fetch-compiler: npm could not fetch $package@$version; is there a network?" >&2; exit 1; }
found=sha512-$(openssl dgst -sha512 -binary "$archive" | base64 -w0)
if [ "$found" != "$integrity" ]; then
  rm -f "$archive"
  echo "fetch-compiler: $package@$version is not what compiler.lock says: $found instead of $integrity" >&2
  exit 1
fi
tar -xzf "$archive" -C "$folder" --strip-components=1
rm "$archive"
echo "$integrity" > "$folder/.unpacked"
