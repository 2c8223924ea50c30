#!/usr/bin/env bash
# The installed tree holds the files of manifest.txt, and no other.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"

configuration=${QMSG_BUILD_TYPE,,}
difference=$(diff \
  <(manifest_lines "$QMSG_SOURCE" "$QMSG_LIBDIR" "${configuration:-noconfig}" \
    share/zsh/site-functions share/doc/qmsg <"$here/manifest.txt") \
  <(installed_files "$QMSG_PREFIX") |
  grep '^[<>]' | sed 's/^</  missing:/; s/^>/  extra:  /') || true

expect_equal 'the installed files' '' "$difference" \
  'Correct the rules in cmake/Install.cmake, or tests/packaging/manifest.txt if the change is meant.'
