# Sourced by the build scripts of the drivers in JavaScript.
# shellcheck shell=bash

# Installs the driver's npm package into OUT_DIR and makes the command that starts the driver with
# ARGUMENT, which is a path.
build_npm_driver() { # DRIVER_DIR OUT_DIR ARGUMENT
  local out argument
  out=$(realpath -m "$2")
  argument=$(realpath "$3")
  if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    echo "$(basename "$1"): node or npm is missing." >&2
    echo "On Debian: apt-get install nodejs npm" >&2
    exit 3
  fi
  mkdir -p "$out"
  cp "$1"/{package.json,package-lock.json,.npmrc,driver.js} "$out"
  npm ci --prefix "$out" --prefer-offline --ignore-scripts --no-audit --no-fund --loglevel=error
  printf "#!/bin/sh\nexec node '%s' '%s'\n" "$out/driver.js" "$argument" >"$out/driver"
  chmod +x "$out/driver"
}
