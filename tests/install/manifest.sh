#!/usr/bin/env bash
# The installed tree holds the files of manifest.txt, and no other.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"

configuration=${QMSG_BUILD_TYPE,,}
difference=$(diff \
  <(sed "s|^LIBDIR|$QMSG_LIBDIR|; s|CONFIG|${configuration:-noconfig}|;
    s|^ZSHDIR|share/zsh/site-functions|" "$here/manifest.txt" |
    LC_ALL=C sort) \
  <(installed_files "$QMSG_PREFIX") |
  grep '^[<>]' | sed 's/^</  missing:/; s/^>/  extra:  /') || true

expect_equal 'the installed files' '' "$difference" \
  'Correct the rules in cmake/Install.cmake, or tests/install/manifest.txt if the change is meant.'
