# Sourced by the build scripts of the peers in JavaScript.
# shellcheck shell=bash
js=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
interchange=$js/../../../tests/interchange
# shellcheck source=../../../tests/interchange/npm_driver.sh
source "$interchange/npm_driver.sh"

# Makes OUT_DIR/run, which starts the peer with ARGUMENT, a path. Its npm packages are those of the
# interchange test of the same name.
build_peer() { # PEER_DIR OUT_DIR ARGUMENT
  install_npm_packages "$interchange/drivers/$(basename "$1")" "$2"
  cp "$1/peer.js" "$js/measure.js" "$2"
  printf "#!/bin/sh\nexec node '%s' '%s' \"\$@\"\n" "$2/peer.js" "$3" >"$2/run"
  chmod +x "$2/run"
}
