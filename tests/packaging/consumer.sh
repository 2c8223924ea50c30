#!/usr/bin/env bash
# Usage: consumer.sh FOLDER CMAKE_ARGUMENT...
# Builds the stranger's program in FOLDER with CMake, and runs it.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

folder=$1
shift
rm -rf "$folder"
cmake -S "$here/consumer" -B "$folder" "$@"
cmake --build "$folder" --parallel 2
"$folder/consumer" ||
  fail 'a program that uses qmsg through CMake' 'exit status 0' "$?, after the lines above" \
    'Compare the link options in src/CMakeLists.txt with those in the cache of the program.'
