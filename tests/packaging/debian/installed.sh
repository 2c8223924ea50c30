#!/usr/bin/env bash
# Installs the packages in build/package as root on a system that knows nothing of qmsg yet, uses
# them and removes them: nothing is left. First as README.md says, then each one with no more than it
# depends on.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../../.."
. tests/packaging/check.sh
. tests/packaging/debian/use.sh
export DEBIAN_FRONTEND=noninteractive

install() { # PACKAGE...
  apt-get install --yes --quiet --quiet --no-install-recommends "$@"
}

expect_nothing() { # WHEN
  # PHP's own packages remember the extensions that were switched on and off.
  expect_equal "files named after qmsg, $1" '' \
    "$(find / -xdev \( -path "$PWD" -o -path /var/lib/php/modules \) -prune -o -name '*qmsg*' -print)" \
    'See the scripts that debhelper gave the packages; before, use a fresh system.'
  expect_equal "packages that dpkg knows, $1" '' \
    "$(dpkg-query --show --showformat='${Package} ${Status}\n' '*qmsg*' 2>/dev/null |
      grep --invert-match 'unknown ok not-installed$')" 'Purge each package that is installed here.'
}

remove() { # PACKAGE...
  apt-get purge --yes --quiet --quiet --autoremove "$@"
}

expect_nothing 'before the installation'
output=$(bash -euo pipefail -c "$(tests/docs/commands.sh README.md Install)")
expect_text 'what the commands of README.md print' "$(quickstart_output)" "$output" \
  'See "Install" there.'
expect_text 'what the commands of README.md print' 'tag 50, varint' "$output" \
  'See "Install" there.'
remove libqmsg1 libqmsg-dev qmsg-tools
expect_nothing 'after the commands of README.md'

install ./build/package/python3-qmsg_*.deb
expect_python 'C++ runtime, dynamic'
install ./build/package/libqmsg1_*.deb
expect_python 'compiled classes'
install ./build/package/libqmsg-dev_*.deb g++ pkg-config
expect_quickstart
install cmake make
expect_consumer -DCMAKE_BUILD_TYPE=Release
expect_example /usr/share/doc/libqmsg-dev -DCMAKE_BUILD_TYPE=Release
install ./build/package/qmsg-tools_*.deb
expect_tool
install php-cli
bash -euo pipefail -c "$(tests/docs/commands.sh docs/php-qmsg.md Install)"
expect_recording
install man-db bash-completion zsh fish
expect_help

remove libqmsg1 libqmsg-dev qmsg-tools python3-qmsg 'php*-qmsg'
expect_nothing 'after the removal'
