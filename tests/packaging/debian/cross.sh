#!/usr/bin/env bash
# Usage: cross.sh ARCHITECTURE
# Checks the packages that ./dev package --for ARCHITECTURE has cross-compiled: they are for that
# processor, their tool and library work there, and their pages are those that this tool writes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../../.."
. tests/packaging/check.sh

architecture=$1
packages=build/package/$architecture
version=$(sed --quiet 's/^project(qmsg VERSION \([^ ]*\).*/\1/p' CMakeLists.txt)
soversion=$(sed --quiet 's/^set(qmsg_soversion \(.*\))$/\1/p' CMakeLists.txt)
scratch=$(mktemp --directory)
trap 'rm --recursive --force "$scratch"' EXIT

of_host() { # VARIABLE
  dpkg-architecture --host-arch "$architecture" --query "DEB_HOST_$1" 2>/dev/null
}

expect_equal 'the packages' "libqmsg-dev_${version}_$architecture.deb
libqmsg${soversion}_${version}_$architecture.deb
qmsg-tools_${version}_$architecture.deb" "$(cd "$packages" && printf '%s\n' *.deb)" \
  'See debian/control; --build=any leaves out the Python package.'
for package in "$packages"/*.deb; do
  dpkg-deb --extract "$package" "$scratch"
done

qemu=qemu-$(of_host GNU_CPU | sed 's/^i686$/i386/')-static
qmsg() {
  "$qemu" -E "LD_LIBRARY_PATH=$scratch/usr/lib/$(of_host MULTIARCH)" "$scratch/usr/bin/qmsg" "$@"
}

# Field 10, a varint: 10 * 8 + 0 = 0x50.
expect_equal 'what the tool reads' '{"rows":12}' \
  "$(qmsg decode --compact --type SqlQuery --in hex <<<500c)" \
  "Run it with $qemu, and see debian/rules."
expect_equal 'the manual page' "$(qmsg man)" "$(zcat "$scratch/usr/share/man/man1/qmsg.1.gz")" \
  'See the rules of qmsg_pages in tools/CMakeLists.txt.'
expect_equal 'the completion of bash' "$(qmsg completion bash)" \
  "$(cat "$scratch/usr/share/bash-completion/completions/qmsg")" \
  'See the rules of qmsg_pages in tools/CMakeLists.txt.'
