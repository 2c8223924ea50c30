#!/usr/bin/env bash
# A program that fetches qmsg builds it from a path with spaces, in a path with spaces, and leaves
# the fetched sources as they were.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

sources="$QMSG_SCRATCH/qmsg source"
rm -rf "$sources"
mkdir -p "$sources"
cp -a "$QMSG_SOURCE"/{CMakeLists.txt,cmake,examples,proto,src,tests} "$sources"

folder="$QMSG_SCRATCH/fetch content"
bash "$here/consumer.sh" "$folder" -DQMSG_FROM=fetch_content "-DQMSG_SOURCE=$sources"
expect_equal 'changes that the build made in the sources' '' \
  "$(diff -r "$sources" "$folder/_deps/qmsg-src")" 'Write to the build folder only.'
