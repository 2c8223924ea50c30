#!/usr/bin/env bash
# Builds the other implementations that the library is compared with, and writes what they are to
# BUILD_DIR/peers.txt, a line each: its name, a tab, and the command that measures it, quoted for a
# shell and to be followed by WORKLOADS_DIR SECONDS; or "skipped: " and which tool is missing.
# usage: build.sh BUILD_DIR    a folder configured with the preset bench
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if (($# != 1)); then
  echo "usage: $0 BUILD_DIR" >&2
  exit 2
fi
if [[ ! -e $1/CMakeCache.txt ]]; then
  echo "$0: $1 is no build folder. First: cmake --preset bench" >&2
  exit 1
fi
build=$(realpath "$1")

# Folder, name, and an argument that selects one of several programs.
scripted=(
  "rust-prost|Rust: prost|"
  "rust-protobuf|Rust: protobuf|"
  "go|Go|"
  "js-protobufjs|JavaScript: protobufjs|"
  "js-bufbuild|JavaScript: @bufbuild/protobuf|"
  "python|Python: pure|pure"
  "python|Python: C++ runtime|cpp"
  "python|Python: C++ runtime with libqmsg|qmsg"
  "php|PHP: pure|"
)

# Prints what goes behind the name of a peer. Its build ends with 3 if its toolchain is missing.
command_of() { # FOLDER ARGUMENT
  local out=$build/peers/$1 status=0
  if [[ ! -e $out/built ]]; then
    mkdir -p "$out"
    "$here/$1/build.sh" "$out" "$(realpath "$here/../../proto")" \
      "$build/src/generated/qmsg.desc" "$build/src" >"$out/build.log" 2>&1 || status=$?
    case $status in
      0) echo "'$out/run'" >"$out/built" ;;
      3) echo "skipped: $(paste --serial --delimiters=' ' "$out/build.log")" >"$out/built" ;;
      *)
        cat "$out/build.log" >&2
        echo "$0: $1 does not build" >&2
        return 1
        ;;
    esac
  fi
  local command
  command=$(<"$out/built")
  [[ $command == skipped:* ]] || command+=${2:+ $2}
  echo "$command"
}

rm -f "$build/peers.txt"
cmake --build "$build" --target bench_peers qmsg >&2
rm -f "$build"/peers/*/built
{
  cat "$build/bench/peers/built_by_cmake.txt"
  for peer in "${scripted[@]}"; do
    IFS='|' read -r folder name argument <<<"$peer"
    command=$(command_of "$folder" "$argument")
    printf '%s\t%s\n' "$name" "$command"
  done
} >"$build/peers.txt.new"
mv "$build/peers.txt.new" "$build/peers.txt"
