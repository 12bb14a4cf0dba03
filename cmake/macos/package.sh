#!/usr/bin/env bash
# Makes of the builds for arm64 and x86_64 one prefix for both, packs it, and writes the Homebrew formula that installs it:
# BUILD/package/quarn-VERSION-macos.tar.gz and BUILD/package/quarn.rb. The formula names URL, by default the archive's own place.
#   package.sh BUILD [URL]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
url=${2:-}
cd "$1"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' x86_64/CMakeCache.txt)
name=quarn-$version-macos
rm -rf package
mkdir package
for architecture in arm64 x86_64; do
  cmake --install "$architecture" --prefix "package/$architecture" > /dev/null
done

# The manual page and the completions are written by the program itself, which runs here for x86_64 alone: its prefix becomes the
# package's, and programs and libraries in it become those for both.
mv package/x86_64 "package/$name"
(cd package/arm64 && find bin lib -name quarn -o -name '*.a' -o -name '*.dylib') | while read -r file; do
  "$here/macho.py" join package/joined "package/arm64/$file" "package/$name/$file"
  mv package/joined "package/$name/$file"
  rm "package/arm64/$file"
done
if diff -rq package/arm64 "package/$name" | grep -v "^Only in package/$name"; then
  echo "package.sh: these files differ between arm64 and x86_64" >&2
  exit 1
fi
rm -r package/arm64
"$here/macho.py" check "package/$name/bin/quarn" "package/$name/lib/libplist-2.0.3.dylib"

tar --create --gzip --file "package/$name.tar.gz" --directory package --sort=name --owner=0 --group=0 --numeric-owner \
  --mtime="@${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct || echo 0)}" "$name"
hash=$(sha256sum "package/$name.tar.gz" | cut -d' ' -f1)
sed -e "s|@URL@|${url:-file://$PWD/package/$name.tar.gz}|" -e "s|@SHA256@|$hash|" -e "s|@VERSION@|$version|" \
  "$here/quarn.rb.in" > package/quarn.rb
ls -l "package/$name.tar.gz" package/quarn.rb
