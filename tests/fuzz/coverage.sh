#!/usr/bin/env bash
# Prints which code of the library the inputs kept by ./dev fuzz reach.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

inputs=build/asan/corpora
[[ -d $inputs ]] || { echo "$0: there are no inputs yet. First: ./dev fuzz" >&2; exit 1; }
cmake --preset coverage >/dev/null
cmake --build --preset coverage
LLVM_PROFILE_FILE=build/coverage/profile.raw \
  build/coverage/tests/fuzz/replay build/asan/seeds "$inputs"
llvm-profdata merge --output=build/coverage/profile build/coverage/profile.raw
llvm-cov report build/coverage/src/libqmsg.so --instr-profile=build/coverage/profile
