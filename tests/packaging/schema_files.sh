#!/usr/bin/env bash
# The installed schema files are those of the installed headers.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

generated=$QMSG_SCRATCH/generated
rm -rf "$generated"
mkdir -p "$generated"
cd "$QMSG_PREFIX/share/qmsg/proto"
protoc --proto_path=. --cpp_out="$generated" ./*.proto
rm "$generated"/*.pb.cc
expect_equal 'headers generated from the installed schema files' '' \
  "$(diff -r "$QMSG_PREFIX/include/qmsg" "$generated")" \
  'Install proto/ and the headers of the same build: see cmake/Install.cmake.'
