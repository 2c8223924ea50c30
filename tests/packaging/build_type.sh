#!/usr/bin/env bash
# Without a build type the library is built for use; a build type that was asked for stays.
set -euo pipefail
. "$QMSG_SOURCE/tests/packaging/check.sh"

expect_build_type() { # EXPECTED CMAKE_ARGUMENT...
  local expected=$1 found
  shift
  rm -rf "$QMSG_TEST_FOLDER"
  cmake -S "$QMSG_SOURCE" -B "$QMSG_TEST_FOLDER" -DBUILD_TESTING=OFF -DQMSG_BUILD_EXAMPLES=OFF "$@"
  found=$(sed -n 's/^CMAKE_BUILD_TYPE:.*=//p' "$QMSG_TEST_FOLDER/CMakeCache.txt")
  expect_equal "build type after cmake $*" "$expected" "$found" 'See CMakeLists.txt.'
}

expect_build_type Release
expect_build_type Debug -DCMAKE_BUILD_TYPE=Debug
