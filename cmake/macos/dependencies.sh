#!/usr/bin/env bash
# Lays out in build/macos what cross-compiling for macOS takes: the compiler, programs that speak through it, headers of the
# header-only libraries and of ICU, and libplist and ncurses for each ARCHITECTURE (arm64, x86_64). What is there already stays.
#   dependencies.sh ARCHITECTURE...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$here/../../build/macos
mkdir -p "$folder/tools" "$folder/dependencies/include"
folder=$(cd "$folder" && pwd)

"$here/fetch-compiler.sh" "$folder/compiler"
for library in libplist ncurses; do "$here/fetch-source.sh" "$here/$library.lock" "$folder/$library"; done

# CMake wants each tool to be a program of its own; ccache knows a clang by its name.
write_tool() {
  cat > "$folder/tools/$1.new" <<TOOL
#!/bin/sh
export ZIG_GLOBAL_CACHE_DIR='$folder/cache' ZIG_LOCAL_CACHE_DIR='$folder/cache'
exec '$folder/compiler/zig' $2 "\$@"
TOOL
  cmp -s "$folder/tools/$1.new" "$folder/tools/$1" || { mv "$folder/tools/$1.new" "$folder/tools/$1"; chmod +x "$folder/tools/$1"; }
  rm -f "$folder/tools/$1.new"
}
write_tool zig-clang cc
write_tool zig-clang++ c++
write_tool zig-ar ar
write_tool zig-ranlib ranlib

# One folder of links and not /usr/include, which would bring Linux's own headers.
for header in nlohmann CLI toml++ fmt spdlog unicode sqlite3.h; do
  ln -sfn "/usr/include/$header" "$folder/dependencies/include/$header"
done

# The compiler builds its C++ library for a target when it first links for it. That has failed once and worked the second time.
warm_up() {
  local source=$folder/cache/warm-up.cpp
  mkdir -p "$folder/cache"
  echo '#include <iostream>
int main() { std::cout << 1; }' > "$source"
  "$folder/tools/zig-clang++" -O2 -s -target "$1-macos.15.0" "$source" -o "$source.out"
}

build_libplist() {
  local target=${1/arm64/aarch64}
  echo "Building the compiler's C++ library and libplist for $1"
  warm_up "$target" 2>/dev/null || warm_up "$target"
  cmake -S "$here/libplist" -B "$folder/libplist/$1" -G Ninja --toolchain "$here/toolchain.cmake" \
    -DQUARN_MACOS_ARCHITECTURE="$1" -DLIBPLIST_SOURCE="$folder/libplist/source" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$folder/dependencies/$1" > /dev/null
  cmake --build "$folder/libplist/$1" --target install > /dev/null
  "$here/macho.py" sign "$folder/dependencies/$1/lib/libplist-2.0.3.dylib"
}

build_ncurses() {
  echo "Building ncurses for $1"
  "$here/build-ncurses.sh" "$1" "$folder/tools" "$folder/ncurses/source" "$folder/dependencies/$1"
}

for architecture in "$@"; do
  descriptions=$folder/dependencies/$architecture/lib/pkgconfig
  [ -f "$descriptions/libplist-2.0.pc" ] || build_libplist "$architecture"
  [ -f "$descriptions/ncursesw.pc" ] || build_ncurses "$architecture"
done
