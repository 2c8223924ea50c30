#!/usr/bin/env bash
# Usage: commands.sh PAGE HEADING
# Prints the shell commands under a heading of the second level, except those of ./dev.
set -euo pipefail
commands=$(awk -v heading="## $2" '
  /^## / { inside = $0 == heading }
  /^```/ { shell = inside && $0 == "```sh"; next }
  shell && !/^\.\/dev / { print }' "$1")
[[ -n $commands ]] || { echo "$1 shows no commands under '$2'" >&2; exit 1; }
printf '%s\n' "$commands"
