#!/usr/bin/env bash
# usage: build.sh driver|benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../cargo.sh"

export QMSG_DESCRIPTOR_SET=$4/src/generated/qmsg.desc
build_with_cargo "$1" "$2" "protobuf protobuf-codegen" \
  "$here"/{Cargo.toml,build.rs,driver.rs,benchmark.rs} "$here/../measure.rs"
