#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../rust/build_crate.sh"

export PROTOC=/usr/bin/protoc QMSG_PROTO_DIR=$2
build_crate "$1" "prost prost-types prost-build" "$here"/{Cargo.toml,build.rs,main.rs} \
  "$here/../rust/measure.rs"
