#!/usr/bin/env bash
# Usage: reports.sh PATTERN COMMAND...
# Succeeds if COMMAND fails and one line of what it prints matches PATTERN.
set -euo pipefail

pattern=$1
shift
status=0
printed=$("$@" 2>&1) || status=$?
if ((status == 0)); then
  printf '%s\nreported nothing: the status is 0\n' "$*" >&2
elif ! grep --extended-regexp --quiet -- "$pattern" <<<"$printed"; then
  printf '%s\nfailed with status %d, but said nothing of "%s":\n%s\n' \
    "$*" "$status" "$pattern" "$printed" >&2
else
  exit 0
fi
exit 1
