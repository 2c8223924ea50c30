#!/usr/bin/env bash
# Usage: wrong_protobuf.sh COMPILER RUNTIME CMAKE_ARGUMENT...
# Configuring with a protobuf compiler or runtime of another release line is refused, and the
# message says what there is and what to install. COMPILER and RUNTIME are each a version,
# "installed" for the one of this machine, or "none"; a COMPILER may be "unknown", a broken one.
set -euo pipefail
. "$QMSG_SOURCE/tests/packaging/check.sh"
. "$QMSG_SOURCE/tests/packaging/fake_protobuf.sh"

compiler=$1 runtime=$2
shift 2
rm -rf "$QMSG_TEST_FOLDER"

arguments=()
case $compiler in
  installed) compiler=3.21. ;;
  none) arguments+=(-DProtobuf_PROTOC_EXECUTABLE=) ;;
  unknown) arguments+=(-DProtobuf_PROTOC_EXECUTABLE=/bin/false) ;;
  *)
    fake_protoc "$QMSG_TEST_FOLDER/bin/protoc" "$compiler"
    arguments+=("-DProtobuf_PROTOC_EXECUTABLE=$QMSG_TEST_FOLDER/bin/protoc")
    ;;
esac
case $runtime in
  installed) runtime=3.21. ;;
  none) arguments+=(-DProtobuf_INCLUDE_DIR=) ;;
  *)
    fake_protobuf_headers "$QMSG_TEST_FOLDER/include" "$runtime"
    arguments+=("-DProtobuf_INCLUDE_DIR=$QMSG_TEST_FOLDER/include")
    ;;
esac

expect_refusal 'configuring with the wrong protobuf' \
  cmake -B "$QMSG_TEST_FOLDER/build" "${arguments[@]}" -S "$@"
for expected in 'protobuf compiler and runtime of release line 3.21.' \
  "compiler: $compiler" "runtime: $runtime" 'apt-get install protobuf-compiler libprotobuf-dev'; do
  expect_text 'the refusal' "$expected" "$refusal" 'See cmake/RequireProtobuf.cmake.'
done
