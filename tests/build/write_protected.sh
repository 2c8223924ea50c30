#!/usr/bin/env bash
# A build folder that cannot be written to is named in the message.
set -euo pipefail
. "$QMSG_SOURCE/tests/install/check.sh"
skip_unless_permissions_count

rm -rf "$QMSG_SCRATCH"
mkdir -p "$QMSG_SCRATCH"
chmod a-w "$QMSG_SCRATCH"
expect_refusal 'configuring in a write-protected folder' \
  with_permissions cmake -S "$QMSG_SOURCE" -B "$QMSG_SCRATCH"
expect_text 'the refusal' "$QMSG_SCRATCH" "$refusal" \
  'Find out which step comes before the one of CMake that creates its own folder.'
