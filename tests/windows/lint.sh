#!/usr/bin/env bash
# Runs clang-tidy on the sources that are for Windows alone.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tests/windows/configure.sh
cmake --build --preset windows --target qmsg
# Clang reads the other compiler's options, but does not find its C++ library.
library=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
# one_header.cc is compiled 21 times and holds no code.
git ls-files --cached --others --exclude-standard -- '*/windows/*.cc' |
  grep --invert-match /one_header.cc |
  xargs --max-procs="$(nproc)" --max-args=2 clang-tidy --quiet -p build/windows \
    --extra-arg=--target=x86_64-w64-mingw32 \
    --extra-arg=-isystem"$library" --extra-arg=-isystem"$library/x86_64-w64-mingw32"
