#!/usr/bin/env bash
# Makes the ZIP file and the installer for Windows from a build:
#   packaging/windows/package.sh BUILD DEPENDENCIES CPU PLACE
set -euo pipefail
build=$(realpath "$1")
deps=$(realpath "$2")
cpu=$3
place=$(realpath "$4")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$here/../..
triple=$cpu-w64-mingw32
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=zforms-$version-windows-$cpu
tree=$place/$name

copyright_of() {
  cp "/usr/share/doc/$1/copyright" "$tree/licences/$2.txt"
}

rm -rf "$tree" "$tree".*
mkdir -p "$tree/licences" "$tree/lib"
cmake --install "$build" --prefix "$tree" --strip >"$place/install.log"

# Makes the import library of zforms.dll for compilers other than MinGW, which can call only the C interface.
cp "$build/zforms.def" "$tree/lib/"
"$triple-dlltool" --input-def "$build/zforms.def" --dllname zforms.dll --output-lib "$tree/lib/zforms.lib"

# Copies the licences of zforms and of all libraries that are linked or shipped with it.
cp "$root/LICENSE" "$tree/LICENSE.txt"
cp "$root/README.md" "$tree/README.md"
rm -rf "$tree/share/doc"
cp "$deps/sources/freetype/docs/FTL.TXT" "$tree/licences/FreeType.txt"
cp "$deps/sources/fribidi/COPYING" "$tree/licences/FriBidi.txt"
cp "$deps/sources/harfbuzz/COPYING" "$tree/licences/HarfBuzz.txt"
cp "$deps/sources/libunibreak/LICENCE" "$tree/licences/libunibreak.txt"
cp "$deps/sources/nettle/COPYING.LESSERv3" "$tree/licences/nettle.txt"
cp "$deps/sources/utf8proc/LICENSE.md" "$tree/licences/utf8proc.txt"
cp "$deps/sources/sqlite/LICENSE.md" "$tree/licences/SQLite.txt" 2>/dev/null || copyright_of libsqlite3-dev SQLite
copyright_of libpugixml-dev pugixml
copyright_of libboost-dev Boost
copyright_of libcli11-dev CLI11
copyright_of nlohmann-json3-dev nlohmann-json
copyright_of libz-mingw-w64-dev zlib
copyright_of mingw-w64-common MinGW-w64
copyright_of "g++-mingw-w64-${cpu//_/-}-posix" GCC-runtime

(cd "$place" && zip --quiet --recurse-paths "$name.zip" "$name")
"$triple-gcc-posix" -O2 -s -static -o "$place/path_entry.exe" "$here/path_entry.c" -lshell32
makensis -V2 "-DVERSION=$version" "-DFILES=$tree" "-DHELPER=$place/path_entry.exe" \
  "-DOUTPUT=$place/$name-setup.exe" "$here/installer.nsi" >"$place/makensis.log" || {
  tail -n 20 "$place/makensis.log" >&2
  exit 1
}
printf '%s\n' "$place/$name.zip" "$place/$name-setup.exe"
