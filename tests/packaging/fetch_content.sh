#!/usr/bin/env bash
# A program that fetches qmsg builds it from a path with spaces, in a path with spaces, under settings
# of its own. The sources stay as they were; the library is the one that is built elsewhere, to the byte.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"

sources="$QMSG_SCRATCH/qmsg source"
rm -rf "$sources"
mkdir -p "$sources"
cp -a "$QMSG_SOURCE"/{CMakeLists.txt,cmake,examples,proto,src,tests} "$sources"

folder="$QMSG_SCRATCH/fetch content"
bash "$here/consumer.sh" "$folder" -DQMSG_FROM=fetch_content "-DQMSG_SOURCE=$sources" \
  "-DCMAKE_BUILD_TYPE=$QMSG_BUILD_TYPE"
expect_equal 'changes that the build made in the sources' '' \
  "$(diff -r "$sources" "$folder/_deps/qmsg-src")" 'Write to the build folder only.'

checksums() { # BUILD_FOLDER
  (cd "$1/src" && installed_files . | grep -E '^(libqmsg\.so[^ ]*|generated/.*)$' | xargs sha256sum)
}
difference=$(diff <(checksums "$QMSG_BUILD") <(checksums "$folder/_deps/qmsg-build")) || true
expect_equal 'checksums of the library, the headers and the descriptor set' '' "$difference" \
  'Compare the two libraries with diffoscope, then see -ffile-prefix-map in src/CMakeLists.txt.'
