#!/usr/bin/env bash
# Usage: consumer.sh FOLDER COMPILER OPTION...
# Compiles the stranger's program with that compiler against the library of this build, and runs it.
set -euo pipefail
here=$(dirname "$0")
. "$here/../packaging/check.sh"

folder=$1 compiler=$2
shift 2
command -v "$compiler" >/dev/null || {
  echo "SKIPPED: there is no $compiler. Install it, or let ./dev test do so." >&2
  exit 77
}
"$compiler" "$@" -fsyntax-only -x c++ /dev/null 2>/dev/null || {
  echo "SKIPPED: this $compiler does not know $*." >&2
  exit 77
}
mkdir -p "$folder"
# -I: the warnings of the library's own headers count, too.
"$compiler" "$@" -Wall -Wextra -Wpedantic -Werror -I "$QMSG_BUILD/src/generated" \
  -I "$QMSG_BUILD/src/generated/qmsg" "$here"/../packaging/consumer/{main,quoted_include}.cc \
  -o "$folder/consumer" -L "$QMSG_BUILD/src" "-Wl,-rpath,$QMSG_BUILD/src" -lqmsg -lprotobuf
"$folder/consumer" ||
  fail "a program compiled by $compiler $*" 'exit status 0' "$?, after the lines above" \
    'Compare what the library exports (tests/surface) with what this program asks for.'
