#!/usr/bin/env bash
# A program that wants version 2 learns that there is only version 1.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

expect_refusal 'find_package(qmsg 2 REQUIRED)' bash "$here/consumer.sh" \
  "$QMSG_SCRATCH/version 2" -DQMSG_VERSION=2 "-Dqmsg_ROOT=$QMSG_PREFIX"
advice='Keep COMPATIBILITY SameMajorVersion in cmake/Install.cmake.'
expect_text 'the refusal' 'compatible with requested version "2"' "$refusal" "$advice"
expect_text 'the version on offer' "qmsgConfig.cmake, version: $QMSG_VERSION" "$refusal" "$advice"
