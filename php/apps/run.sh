#!/usr/bin/env bash
# Usage: php/apps/run.sh apps|cost|php_src [ARGUMENT...]
# Runs run.py, cost.py or php_src.sh with the extension in QMSG_MODULE and the tool in QMSG. Without these
# variables, it builds both.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

what=$1
shift
if [[ -z ${QMSG_MODULE-} || -z ${QMSG-} ]]; then
  preset=gcc
  [[ $what != cost ]] || preset=release # what is measured is compiled as for the packages
  cmake --preset $preset >/dev/null
  cmake --build --preset $preset --target qmsg_php qmsg_cli
  QMSG_MODULE=$PWD/build/$preset/php/qmsg.so QMSG=$PWD/build/$preset/tools/qmsg
fi
export QMSG_MODULE QMSG

case $what in
  apps) exec /usr/bin/python3 -B php/apps/run.py "$@" ;;
  cost) exec /usr/bin/python3 -B php/apps/cost.py "$@" ;;
  php_src) exec php/apps/php_src.sh "$@" ;;
esac
