#!/usr/bin/env bash
# Runs clang-tidy on the sources that are for Windows alone.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

build=build/windows-lint
# clang-tidy takes the options of a source from its command, which a unity source hides.
tests/windows/configure.sh -B "$build" -DCMAKE_UNITY_BUILD=OFF
cmake --build "$build" --target src/generated/qmsg.desc
# Clang reads the other compiler's options, but does not find its C++ library.
library=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
# one_header.cc is compiled 21 times and holds no code.
git ls-files --cached --others --exclude-standard -- '*/windows/*.cc' |
  grep --invert-match /one_header.cc |
  xargs --max-procs="$(nproc)" --max-args=2 clang-tidy --quiet -p $build \
    --extra-arg=--target=x86_64-w64-mingw32 \
    --extra-arg=-isystem"$library" --extra-arg=-isystem"$library/x86_64-w64-mingw32"
