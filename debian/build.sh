#!/usr/bin/env bash
# Usage: debian/build.sh
# Writes the Debian packages and a plain tarball to build/package.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

rm --recursive --force build/debian build/package build/release/*.tar.gz
mkdir --parents build/debian/source build/package/debug
# The sources as they lie here, committed or not, without what git ignores.
comm -z -23 <(git ls-files -z --cached --others --exclude-standard | sort --zero-terminated) \
  <(git ls-files -z --deleted | sort --zero-terminated) |
  tar --create --null --files-from=- | tar --extract --directory build/debian/source
debian/write_changelog.py "$(git log --max-count=1 --format=%cD)" \
  >build/debian/source/debian/changelog
(cd build/debian/source && dpkg-buildpackage --build=binary --no-sign)

cmake --preset release -DQMSG_BUILD_DOCS=ON
cmake --build --preset release
cpack --preset release
# Apart, so that build/package/*.deb are those to install.
mv build/debian/*-dbgsym_*.deb build/package/debug
mv build/debian/*.deb build/release/*.tar.gz build/package
printf '%s\n' build/package/*.* build/package/debug/*
