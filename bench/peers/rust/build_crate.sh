# Sourced by the build scripts of the peers in Rust.
# shellcheck shell=bash

# build_crate OUT_DIR CRATES FILE...: makes a crate of the files and builds it to OUT_DIR/run, with
# those crates of Debian that CRATES names. Ends the script with status 3 if something is missing.
build_crate() {
  local out=$1 crates=$2 registry=/usr/share/cargo/registry crate
  shift 2
  local tool
  for tool in cargo rustc; do
    [[ -x /usr/bin/$tool ]] || { echo "Debian's package $tool is missing" >&2; exit 3; }
  done
  for crate in $crates; do
    compgen -G "$registry/$crate-[0-9]*" >/dev/null ||
      { echo "Debian's package librust-$crate-dev is missing" >&2; exit 3; }
  done

  # Debian's crates stand in for any registry, so nothing is fetched.
  mkdir -p "$out/crate/.cargo"
  cp --preserve=timestamps "$@" "$out/crate/"
  cat >"$out/crate/.cargo/config.toml" <<CONFIG
[source.crates-io]
replace-with = "debian"
[source.debian]
directory = "$registry"
CONFIG
  (cd "$out/crate" && env RUSTC=/usr/bin/rustc "CARGO_HOME=$out/cargo-home" \
    /usr/bin/cargo build --quiet --release --offline --target-dir "$out/target")
  cp "$out/target/release/peer" "$out/run"
}
