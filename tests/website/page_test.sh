#!/usr/bin/env bash
# Runs a test of the built site in a browser, with the golden vectors in VECTORS_JSON.
# Usage: page_test.sh VECTORS_JSON TEST
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

/usr/bin/python3 -B "$here/vectors_json.py" >"$1"
QMSG_VECTORS=$1 exec node --test "$here/$2.js"
