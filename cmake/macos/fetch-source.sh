#!/usr/bin/env bash
# Fetches the source package that LOCK names into FOLDER/source through the machine's own apt sources and checks it against
# LOCK. Does nothing when it is there already. Needs no root: apt keeps its lists in FOLDER.
#   fetch-source.sh LOCK FOLDER
set -euo pipefail
lock=$(realpath "$1")
locked() { sed -n "s/^$1 \+//p" "$lock"; }
package=$(locked package) version=$(locked version) sha256=$(locked sha256)
mkdir -p "$2"
cd "$2"
[ "$(cat source/.unpacked 2>/dev/null)" = "$sha256" ] && exit 0

echo "Fetching the source of $package $version"
rm -rf source lists
mkdir -p lists/partial
apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' \
  'Created-By: Packages' 'Origin: Debian' 'Component: main' | sort -u > sources.list
options=(-qq -o "Dir::Etc::SourceList=$PWD/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$PWD/lists"
         -o "Dir::Cache=$PWD" -o APT::Sandbox::User=root)
apt-get "${options[@]}" update
apt-get "${options[@]}" source --download-only "$package=$version"
description=${package}_$version.dsc
echo "$sha256  $description" | sha256sum --check --quiet
dpkg-source --no-check -x "$description" source > /dev/null
rm -rf lists sources.list *.bin "${package}"_*
echo "$sha256" > source/.unpacked
