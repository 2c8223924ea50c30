#!/usr/bin/env bash
# No installed file says where it was built or first installed.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

# A path starts where it does not continue another one: /qmsg is not meant by ${includedir}/qmsg.
place="(?<![\w.}/-])(\Q$QMSG_SOURCE\E|\Q$QMSG_BUILD\E|\Q$QMSG_SCRATCH\E)"
binaries=text
# Without NDEBUG the runtime's checks print the path of the source file.
[[ $QMSG_BUILD_TYPE == Release ]] || binaries=without-match

found=$(LC_ALL=C grep --recursive --perl-regexp --only-matching --binary-files=$binaries \
  "$place" "$QMSG_PREFIX" | sort -u) || true
expect_equal 'absolute paths in the installed files' '' "$found" \
  'Give these paths relative to the installed file.'
