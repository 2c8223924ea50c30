#!/usr/bin/env bash
# Builds the benchmarks of all implementations and lists them in BUILD_DIR/benchmarks.txt, one a
# line: a name, a tab, and the command, quoted for a shell and to be followed by WORKLOADS_DIR
# SECONDS; or "skipped: " and the missing tool.
# usage: benchmarks.sh BUILD_DIR    a folder configured with the preset bench
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if (($# != 1)); then
  echo "usage: $0 BUILD_DIR" >&2
  exit 2
fi
if [[ ! -e $1/CMakeCache.txt ]]; then
  echo "$0: $1 is not a build folder. First: cmake --preset bench" >&2
  exit 1
fi
build=$(realpath "$1")

# Those that CMake does not build: folder, name, and an argument of the program.
scripted=(
  "rust-prost|Rust: prost|"
  "rust|Rust: protobuf|"
  "go|Go|"
  "js-protobufjs|JavaScript: protobufjs|"
  "js-bufbuild|JavaScript: @bufbuild/protobuf|"
  "python|Python: pure|pure"
  "python|Python: C++ runtime|cpp"
  "python|Python: C++ runtime with libqmsg|qmsg"
  "php|PHP: pure|"
  "php-qmsg|PHP: extension qmsg|"
)

rm -f "$build/benchmarks.txt"
cmake --build "$build" --target bench_implementations qmsg >&2
cp "$build/implementations/built_by_cmake.txt" "$build/benchmarks.txt.new"
last=
for benchmark in "${scripted[@]}"; do
  IFS='|' read -r folder name argument <<<"$benchmark"
  if [[ $folder != "$last" ]]; then
    "$here/build.sh" "$folder" benchmark "$build" >&2 || (($? == 3))
    last=$folder
  fi
  out=$build/implementations/$folder
  if [[ -e $out/missing ]]; then
    command="skipped: $(paste --serial --delimiters=' ' "$out/missing")"
  else
    command="'$out/benchmark'${argument:+ $argument}"
  fi
  printf '%s\t%s\n' "$name" "$command" >>"$build/benchmarks.txt.new"
done
mv "$build/benchmarks.txt.new" "$build/benchmarks.txt"
