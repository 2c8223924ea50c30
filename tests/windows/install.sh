#!/usr/bin/env bash
# Usage: install.sh BUILD RUNTIME
# Installs the DLL of the folder BUILD, and builds the first program against it and the protobuf
# runtime of the folder RUNTIME: as a user of CMake does, and as one of pkg-config. Both run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

build=$1 runtime=$2
folder=$(mktemp --directory)
trap 'rm --recursive --force "$folder"' EXIT
prefix=$folder/qmsg

expect_greeting() { # PROGRAM
  local expected printed
  expected='{"queueId":"request-1","queries":[{"connectionId":0,"query":"SELECT name FROM product","duration":"0.001500s","rows":12}]}'
  printed=$(cmake/windows/wine.sh "$prefix/bin:$runtime/bin" "$1" | tr --delete '\r')
  if [[ $printed != "$expected" ]]; then
    printf '%s prints\n%s\nand not\n%s\n' "$1" "$printed" "$expected" >&2
    exit 1
  fi
}

cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S examples/quickstart -B "$folder/build" -G Ninja \
  "-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/windows/toolchain.cmake" \
  "-DCMAKE_PREFIX_PATH=$prefix;$runtime" >/dev/null
cmake --build "$folder/build" >/dev/null
expect_greeting "$folder/build/qmsg_quickstart.exe"

export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig:$runtime/lib/pkgconfig
read -ra flags < <(pkg-config --cflags --libs qmsg)
x86_64-w64-mingw32-g++-posix -std=c++17 examples/quickstart/main.cc "${flags[@]}" \
  -o "$folder/hello.exe"
expect_greeting "$folder/hello.exe"
