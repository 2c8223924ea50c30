#!/usr/bin/env bash
# Whoever has no qmsg at hand can read its messages with protoc and the installed descriptor set.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

descriptor_set=$QMSG_PREFIX/share/qmsg/qmsg.desc
advice='See the protoc command in src/CMakeLists.txt.'
decode() { # TYPE BYTES
  # shellcheck disable=SC2059  # The bytes are written as printf escapes.
  printf "$2" | protoc "--descriptor_set_in=$descriptor_set" --decode="quor.protobuf.$1" |
    tr -s ' \n' ' '
}

expect_equal 'a login, field 1 "web1"' 'hostname: "web1" ' \
  "$(decode Login.Login '\x0a\x04web1')" "$advice"
expect_equal 'a query, field 9 with a Duration of 5 s, from an imported file' \
  'duration { seconds: 5 } ' "$(decode Tarq.SqlQuery '\x4a\x02\x08\x05')" "$advice"

comments=$(protoc --decode=google.protobuf.FileDescriptorSet google/protobuf/descriptor.proto \
  <"$descriptor_set" | grep -c 'leading_comments\|trailing_comments') || true
((comments >= 276)) ||
  fail 'comments in the descriptor set' 'one for each of 276 elements' "$comments" "$advice"
