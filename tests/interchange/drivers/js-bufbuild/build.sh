#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
source "$here/../../npm_driver.sh"

build_npm_driver "$here" "$1" "$3"
