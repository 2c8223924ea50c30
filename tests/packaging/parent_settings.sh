#!/usr/bin/env bash
# Adding qmsg to another project changes no setting of that project and gives it no tests.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

folder=$QMSG_SCRATCH/parent_settings
rm -rf "$folder"
output=$(cmake -S "$here/parent" -B "$folder" "-DQMSG_SOURCE=$QMSG_SOURCE" 2>&1) ||
  fail 'a project that adds qmsg' 'no change of its settings' "$output" \
    'Keep to PROJECT_IS_TOP_LEVEL in CMakeLists.txt, and to properties of targets.'
