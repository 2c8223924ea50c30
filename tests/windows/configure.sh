#!/usr/bin/env bash
# Usage: configure.sh [OPTION...]
# Configures build/windows with the protobuf runtime for Windows, which is built if it is not cached.
# OPTIONs are for cmake.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

runtime=$(cmake/windows/protobuf.sh)
# Fresh: the cache would keep a runtime that has been replaced since.
cmake --preset windows --fresh "-DCMAKE_PREFIX_PATH=$runtime" "$@"
