#!/usr/bin/env bash
# Installs the npm package and makes the command that starts the driver.
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
out="$(realpath -m "$1")" descriptor_set="$(realpath "$3")"

if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  echo "js-bufbuild: node or npm is missing." >&2
  echo "On Debian: apt-get install nodejs npm" >&2
  exit 3
fi

mkdir -p "$out"
cp "$here"/{package.json,package-lock.json,.npmrc,driver.js} "$out"
npm ci --prefix "$out" --prefer-offline --ignore-scripts --no-audit --no-fund --loglevel=error

cat >"$out/driver" <<DRIVER
#!/bin/sh
exec node '$out/driver.js' '$descriptor_set'
DRIVER
chmod +x "$out/driver"
