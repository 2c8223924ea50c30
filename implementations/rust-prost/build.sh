#!/usr/bin/env bash
# usage: build.sh benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../cargo.sh"

export PROTOC=/usr/bin/protoc QMSG_PROTO_DIR=$3
build_with_cargo "$1" "$2" "prost prost-types prost-build" \
  "$here"/{Cargo.toml,build.rs,benchmark.rs} "$here/../measure.rs"
