#!/usr/bin/env bash
# usage: build.sh driver|benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../npm.sh"

build_with_npm "$1" "$here" "$2" "$3"
