#!/usr/bin/env bash
# Usage: other_protobuf.sh VERSION
# A program whose protobuf headers are of another release line learns why qmsg cannot be used.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/fake_protobuf.sh"

folder="$QMSG_SCRATCH/protobuf $1"
fake_protobuf_headers "$folder/include" "$1"
expect_refusal "find_package(qmsg) beside protobuf $1" bash "$here/consumer.sh" \
  "$folder/build" "-DProtobuf_INCLUDE_DIR=$folder/include" "-Dqmsg_ROOT=$QMSG_PREFIX"
advice='Set qmsg_NOT_FOUND_MESSAGE in cmake/qmsgConfig.cmake.in.'
expect_text 'the release line that is needed' 'built for protobuf 3.21.x' "$refusal" "$advice"
expect_text 'the version that is there' "what was found is: $1" "$refusal" "$advice"
expect_text 'the package to install' 'apt-get install libprotobuf-dev' "$refusal" "$advice"
