#!/usr/bin/env bash
# Builds ncurses with wide characters as a static library for ARCHITECTURE (arm64, x86_64) and installs into PREFIX the library, its
# headers, ncursesw.pc and the licence. TOOLS has the cross compiler's programs, SOURCE is the unpacked source package.
#   build-ncurses.sh ARCHITECTURE TOOLS SOURCE PREFIX
set -euo pipefail
architecture=$1 tools=$2 source=$3 prefix=$4
target=${architecture/arm64/aarch64}
# What a terminal can do is read from macOS's own folder; the subfolders there have hexadecimal names. The terminals that are built
# in serve where that folder lacks them.
options=(
  --build="$(gcc -dumpmachine)" --host="$target-apple-darwin24" --prefix=/usr
  --enable-widec --with-normal --without-shared --without-debug --without-ada --without-cxx --without-cxx-binding
  --without-manpages --without-progs --without-tests --without-dlsym --disable-db-install --disable-stripping
  --disable-mixed-case --with-default-terminfo-dir=/usr/share/terminfo --with-terminfo-dirs=/usr/share/terminfo
  --with-fallbacks=xterm-256color,xterm,screen-256color,screen,tmux-256color,vt100
  --with-ospeed=unsigned  # the older type takes a header that the compiler lacks
  --with-build-cc=gcc --with-tic-path=/usr/bin/tic --with-infocmp-path=/usr/bin/infocmp)

# Its scripts know no spaces in paths: they see links in a folder that has none.
build=$(mktemp -d /tmp/quarn-ncurses-XXXXXX)
trap 'rm -rf "$build"' EXIT
ln -s "$tools" "$build/tools"
ln -s "$source" "$build/source"
logged() { "$@" >> log 2>&1 || { tail -20 log >&2; exit 1; }; }

cd "$build"
unset CFLAGS CPPFLAGS LDFLAGS MAKEFLAGS
export CC="$build/tools/zig-clang -target $target-macos.15.0" CFLAGS="-O2 -g0 -w"
export AR=$build/tools/zig-ar RANLIB=$build/tools/zig-ranlib
logged source/configure "${options[@]}"
logged make -C include
logged make -C ncurses ../lib/libncursesw.a

mkdir -p "$prefix/include/ncursesw" "$prefix/lib/pkgconfig" "$prefix/share/doc/ncurses"
cp include/curses.h include/unctrl.h include/ncurses_dll.h "$prefix/include/ncursesw/"
cp source/COPYING "$prefix/share/doc/ncurses/"
cp lib/libncursesw.a "$prefix/lib/"
cat > "$prefix/lib/pkgconfig/ncursesw.pc" <<'PC'
prefix=${pcfiledir}/../..
Name: ncursesw
Description: screens of terminals
Version: 6.4
Libs: -L${prefix}/lib -lncursesw
Cflags: -I${prefix}/include/ncursesw
PC
