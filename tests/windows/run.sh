#!/usr/bin/env bash
# Builds the DLL and tests it under Wine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tests/windows/configure.sh
# The driver that random messages are compared with.
cmake --preset gcc >/dev/null
cmake --build --preset gcc --target conformance_cpp
cmake --build --preset windows
ctest --preset windows
