# Sourced by the build scripts of the drivers in JavaScript.
# shellcheck shell=bash

# Installs what the package.json of a folder asks for into OUT_DIR.
install_npm_packages() { # PACKAGE_DIR OUT_DIR
  if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    echo "$(basename "$1"): node or npm is missing." >&2
    echo "On Debian: apt-get install nodejs npm" >&2
    exit 3
  fi
  mkdir -p "$2"
  cp "$1"/{package.json,package-lock.json,.npmrc} "$2"
  npm ci --prefix "$2" --prefer-offline --ignore-scripts --no-audit --no-fund --loglevel=error
}

# Installs the driver's npm package into OUT_DIR and makes the command that starts the driver with
# ARGUMENT, which is a path.
build_npm_driver() { # DRIVER_DIR OUT_DIR ARGUMENT
  local out argument
  out=$(realpath -m "$2")
  argument=$(realpath "$3")
  install_npm_packages "$1" "$out"
  cp "$1/driver.js" "$out"
  printf "#!/bin/sh\nexec node '%s' '%s'\n" "$out/driver.js" "$argument" >"$out/driver"
  chmod +x "$out/driver"
}
