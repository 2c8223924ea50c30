# Sourced by the build scripts of the implementations in Rust.
# shellcheck shell=bash

# Builds the program PROGRAM.rs of a crate to OUT_DIR/PROGRAM, with the crates of Debian that CRATES
# names. FILES are the crate's. Exits with status 3 if something is missing.
build_with_cargo() { # PROGRAM OUT_DIR CRATES FILES...
  local program=$1 out=$2 crates=$3 registry=/usr/share/cargo/registry name options=()
  shift 3
  for name in cargo rustc; do
    [[ -x /usr/bin/$name ]] || { echo "Debian's package $name is missing"; exit 3; }
  done
  for name in $crates; do
    compgen -G "$registry/$name-[0-9]*" >/dev/null ||
      { echo "Debian's package librust-$name-dev is missing"; exit 3; }
  done

  # Debian's crates replace the registry, so nothing is fetched.
  mkdir -p "$out/crate/.cargo"
  cp --preserve=timestamps "$@" "$out/crate/"
  cat >"$out/crate/.cargo/config.toml" <<CONFIG
[source.crates-io]
replace-with = "debian"
[source.debian]
directory = "$registry"
CONFIG
  # A driver compiles for longer than it runs.
  local profile=debug
  if [[ $program == benchmark ]]; then
    profile=release
    options=(--release)
  fi
  (cd "$out/crate" && env RUSTC=/usr/bin/rustc "CARGO_HOME=$out/cargo-home" \
    /usr/bin/cargo build --quiet --offline "${options[@]}" --bin "$program" \
    --target-dir "$out/target")
  cp "$out/target/$profile/$program" "$out/$program"
}
