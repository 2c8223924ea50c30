#!/usr/bin/env bash
# Usage: reproducible.sh CMAKE_ARGUMENT...
# What is built from a copy of the sources in another folder is the same to the byte.
set -euo pipefail
. "$QMSG_SOURCE/tests/install/check.sh"
. "$QMSG_SOURCE/tests/install/stage.sh"

rm -rf "$QMSG_SCRATCH"
mkdir -p "$QMSG_SCRATCH/another folder"
cp -a "$QMSG_SOURCE"/{CMakeLists.txt,cmake,proto,src} "$QMSG_SCRATCH/another folder"
cmake -S "$QMSG_SCRATCH/another folder" -B "$QMSG_SCRATCH/built" -DBUILD_TESTING=OFF \
  -DQMSG_BUILD_EXAMPLES=OFF -DQMSG_BUILD_TOOLS=OFF "-DCMAKE_BUILD_TYPE=$QMSG_BUILD_TYPE"
cmake --build "$QMSG_SCRATCH/built" --target qmsg --parallel "$(nproc)"

checksums() { # BUILD_FOLDER
  (cd "$1/src" && installed_files . | grep -E '^(libqmsg\.so[^ ]*|generated/.*)$' | xargs sha256sum)
}
difference=$(diff <(checksums "$QMSG_BUILD") <(checksums "$QMSG_SCRATCH/built")) || true
expect_equal 'checksums of the library, the headers and the descriptor set' '' "$difference" \
  'Compare the two libraries with diffoscope, then see -ffile-prefix-map in src/CMakeLists.txt.'
