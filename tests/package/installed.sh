#!/usr/bin/env bash
# Installs the packages in build/package as root on a system that knows nothing of qmsg yet, uses
# them and removes them: nothing is left. Each one gets no more than it depends on.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
. tests/install/check.sh
. tests/package/use.sh
export DEBIAN_FRONTEND=noninteractive

install() { # PACKAGE...
  apt-get install --yes --quiet --quiet --no-install-recommends "$@"
}

expect_nothing() { # WHEN
  expect_equal "files named after qmsg, $1" '' \
    "$(find / -xdev -path "$PWD" -prune -o -name '*qmsg*' -print)" \
    'See the maintainer scripts in python/debian; before, use a fresh system.'
}

expect_nothing 'before the installation'
apt-get update --quiet --quiet
install ./build/package/python3-qmsg_*.deb
expect_python 'C++ runtime, dynamic'
install ./build/package/libqmsg1_*.deb
expect_python 'compiled classes'
install ./build/package/libqmsg-dev_*.deb g++ pkg-config
expect_quickstart
install ./build/package/qmsg-tools_*.deb
expect_tool

apt-get purge --yes --quiet --quiet libqmsg1 libqmsg-dev python3-qmsg qmsg-tools
expect_nothing 'after the removal'
