#!/usr/bin/env bash
# A build folder that cannot be written to is named in the message.
set -euo pipefail
. "$QMSG_SOURCE/tests/packaging/check.sh"
skip_unless_permissions_count

rm -rf "$QMSG_TEST_FOLDER"
mkdir -p "$QMSG_TEST_FOLDER"
chmod a-w "$QMSG_TEST_FOLDER"
expect_refusal 'configuring in a write-protected folder' \
  with_permissions cmake -S "$QMSG_SOURCE" -B "$QMSG_TEST_FOLDER"
expect_text 'the refusal' "$QMSG_TEST_FOLDER" "$refusal" \
  'Find out which step comes before the one of CMake that creates its own folder.'
