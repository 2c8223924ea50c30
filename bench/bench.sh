#!/usr/bin/env bash
# Usage: bench/bench.sh [OPTION...]    those of bench.py
# Builds what is measured, unless the options measure nothing, and runs bench.py.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case " $* " in
  *" --gate "* | *" --report-only "*) ;;
  *)
    cmake --preset bench >/dev/null
    cmake --build --preset bench
    [[ " $* " == *" --filter "* ]] || implementations/benchmarks.sh build/bench
    ;;
esac
exec /usr/bin/python3 -B bench/bench.py "$@" build/bench
