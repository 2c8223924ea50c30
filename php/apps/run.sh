#!/usr/bin/env bash
# Usage: php/apps/run.sh apps [OPTION...] [APPLICATION...]
#        php/apps/run.sh cost [OPTION...]
# Runs run.py or cost.py with the extension in QMSG_MODULE and the tool in QMSG, and builds them if the
# variables are not set.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

what=$1
shift
preset=gcc
[[ $what == apps ]] || preset=release
if [[ -z ${QMSG_MODULE-} || -z ${QMSG-} ]]; then
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" --target qmsg_php qmsg_cli
fi
export QMSG_MODULE=${QMSG_MODULE:-$PWD/build/$preset/php/qmsg.so}
export QMSG=${QMSG:-$PWD/build/$preset/tools/qmsg}

case $what in
  apps) exec /usr/bin/python3 -B php/apps/run.py "$@" ;;
  cost) exec /usr/bin/python3 -B php/apps/cost.py "$@" ;;
esac
