#!/usr/bin/env bash
# Runs tests of the decoder's modules with the packages in NPM_DIR.
# Usage: node_test.sh NPM_DIR OUT_DIR TEST...
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
npm_dir=$(realpath "$1") out=$2
shift 2

mkdir -p "$out"
tests=()
QMSG_VECTORS=$(realpath "$out")/vectors.json
export QMSG_VECTORS
/usr/bin/python3 -B "$here/vectors_json.py" >"$QMSG_VECTORS"
for test in "$@"; do
  NODE_PATH=$npm_dir/node_modules "$npm_dir/node_modules/.bin/esbuild" "$here/$test.js" \
    --bundle --platform=node --format=esm --log-level=warning --outfile="$out/$test.mjs"
  tests+=("$out/$test.mjs")
done
exec node --test "${tests[@]}"
