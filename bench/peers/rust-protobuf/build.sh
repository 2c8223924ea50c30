#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../rust/build_crate.sh"

export QMSG_DESCRIPTOR_SET=$3
build_crate "$1" "protobuf protobuf-codegen" "$here"/{Cargo.toml,main.rs} \
  "$here/../rust/measure.rs" "$here/../../../tests/interchange/drivers/rust/build.rs"
