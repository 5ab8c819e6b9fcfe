#!/usr/bin/env bash
# Builds the libraries that zforms.dll and its tests link for Windows, from the sources pinned in sources.txt.
#
#   packaging/windows/dependencies.sh CPU PLACE     (CPU: x86_64 or i686)
#
# The libraries go to PLACE/CPU. The archives are kept below $XDG_CACHE_HOME or ~/.cache, for all checkouts of this
# machine, as are the results of the compiler when ccache is installed. Does nothing when the libraries are built already.
set -euo pipefail
cpu=$1
place=$(realpath -m "$2")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
prefix=$place/$cpu
archives=${XDG_CACHE_HOME:-$HOME/.cache}/zforms-windows
jobs=${JOBS:-$(nproc)}
export CCACHE_BASEDIR=$place CCACHE_NOHASHDIR=1

fail() {
  printf 'dependencies: %s\n' "$*" >&2
  exit 1
}

# Fetches one archive unless it is there with the right checksum.
fetch() {
  local sum=$1 address=$2 file=$archives/${2##*/}
  if ! sha256sum --check --status <<<"$sum  $file" 2>/dev/null; then
    printf 'dependencies: fetching %s\n' "$address"
    curl --fail --silent --show-error --location --retry 3 --max-time 300 --output "$file.part" "$address" ||
      fail "$address cannot be fetched"
    sha256sum --check --status <<<"$sum  $file.part" || fail "$address is not the file that is pinned"
    mv "$file.part" "$file"
  fi
}

# unpack NAME ARCHIVE [PATCHES [LEFT_OUT...]]: unpacks sources, and applies Debian's patches.
unpack() {
  local name=$1 tree=$place/sources/$1 patch
  shift
  rm -rf "$tree" && mkdir -p "$tree"
  tar --extract --strip-components=1 --directory="$tree" --file="$archives/$1"
  [ $# -gt 1 ] || return 0
  tar --extract --directory="$tree" --file="$archives/$2" debian/patches
  while read -r patch _; do
    [[ -n $patch && $patch != \#* && " ${*:3} " != *" $patch "* ]] || continue
    patch --directory="$tree" --strip=1 --silent --force --input="debian/patches/$patch" ||
      fail "$name: $patch does not apply"
  done <"$tree/debian/patches/series"
}

# The one file that SQLite is built from is made by its own scripts.
amalgamate_sqlite() {
  (cd "$place/sources/sqlite" && ./configure --disable-tcl && make sqlite3.c) >"$place/sqlite.log" 2>&1 ||
    fail "SQLite's sources cannot be joined: see $place/sqlite.log"
}

unpack_all() {
  local name sum address left_out names=()
  declare -A files=()
  mkdir -p "$archives" "$place"
  while read -r name sum address left_out; do
    [[ -n $name && $name != \#* ]] || continue
    fetch "$sum" "$address"
    [ -n "${files[$name]:-}" ] || names+=("$name")
    files[$name]+=" ${address##*/} $left_out"
  done <"$here/sources.txt"
  for name in "${names[@]}"; do
    # shellcheck disable=SC2086
    unpack "$name" ${files[$name]}
  done
  amalgamate_sqlite
}

# Makes links to the header-only libraries, and to zlib, which Debian provides for this target. The links are in a
# separate folder, so that the compiler does not find the headers of this system's C library.
link_packages() {
  local target=/usr/$cpu-w64-mingw32 name
  mkdir -p "$prefix/include" "$prefix/lib" "$prefix/share/cmake"
  for name in boost CLI nlohmann; do ln -sfn "/usr/include/$name" "$prefix/include/$name"; done
  for name in CLI11 nlohmann_json; do cp -r "/usr/share/cmake/$name" "$prefix/share/cmake/"; done
  for name in zlib.h zconf.h; do ln -sf "$target/include/$name" "$prefix/include/$name"; done
  ln -sf "$target/lib/libz.a" "$prefix/lib/libz.a"
}

# What is built depends on these files.
wanted=$(cat "$here/sources.txt" "$here/dependencies.sh" "$here/dependencies/CMakeLists.txt" | sha256sum)
if [ "$(cat "$prefix/made" 2>/dev/null)" != "$wanted" ]; then
  unpack_all
  rm -rf "$prefix"
  link_packages
  cmake -S "$here/dependencies" -B "$place/build-$cpu" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    "-DCMAKE_TOOLCHAIN_FILE=$here/../../cmake/mingw.cmake" "-DZFORMS_WINDOWS_CPU=$cpu" \
    "-DCMAKE_INSTALL_PREFIX=$prefix" "-DSOURCES=$place/sources" >"$place/configure-$cpu.log" 2>&1 ||
    fail "see $place/configure-$cpu.log"
  cmake --build "$place/build-$cpu" --parallel "$jobs" --target install >"$place/build-$cpu.log" 2>&1 ||
    fail "see $place/build-$cpu.log"
  printf '%s\n' "$wanted" >"$prefix/made"
fi
