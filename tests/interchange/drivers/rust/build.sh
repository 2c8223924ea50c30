#!/usr/bin/env bash
# Usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(realpath -m "$1") descriptor_set=$(realpath "$3")

missing() {
  echo "The Rust driver needs Debian's package $1" >&2
  exit 3
}
[[ -x /usr/bin/cargo ]] || missing cargo
[[ -x /usr/bin/rustc ]] || missing rustc
registry=/usr/share/cargo/registry
compgen -G "$registry/protobuf-2.*" >/dev/null || missing librust-protobuf-dev
compgen -G "$registry/protobuf-codegen-2.*" >/dev/null || missing librust-protobuf-codegen-dev

# Debian's crates stand in for any registry, so nothing is fetched.
mkdir -p "$out/crate/.cargo"
cp "$here"/{Cargo.toml,build.rs,driver.rs} "$out/crate/"
cat >"$out/crate/.cargo/config.toml" <<CONFIG
[source.crates-io]
replace-with = "debian"
[source.debian]
directory = "$registry"
CONFIG

cd "$out/crate"
env RUSTC=/usr/bin/rustc "CARGO_HOME=$out/cargo-home" "QMSG_DESCRIPTOR_SET=$descriptor_set" \
  /usr/bin/cargo build --quiet --offline --target-dir "$out/target"
cp "$out/target/debug/driver" "$out/driver"
