# Sourced by build scripts that use npm packages.
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

# Installs the npm packages of an implementation and writes OUT_DIR/PROGRAM, which starts PROGRAM.js
# with ARGUMENT, a path.
build_with_npm() { # PROGRAM FOLDER OUT_DIR ARGUMENT
  install_npm_packages "$2" "$3"
  cp "$2/$1.js" "$2/../measure.js" "$3"
  printf "#!/bin/sh\nexec node '%s' '%s' \"\$@\"\n" "$3/$1.js" "$4" >"$3/$1"
  chmod +x "$3/$1"
}
