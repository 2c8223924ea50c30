#!/usr/bin/env bash
# Usage: debian/build.sh [ARCHITECTURE]
# Writes the Debian packages and a plain tarball to build/package. Everything is compiled once, in some
# two minutes on two cores. For another ARCHITECTURE it cross-compiles the packages that depend on it,
# into build/package/ARCHITECTURE.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

packages=build/package/${1-} binaries=(--build=binary)
if (($# > 0)); then
  binaries=(--host-arch "$1" "--build-profiles=cross,nocheck" --build=any)
fi

echo "Compiling the library and the tool for the packages, which takes some two minutes on two cores"
rm --recursive --force build/debian "$packages"
mkdir --parents build/debian/source "$packages/debug"
# The sources as they lie here, committed or not, without what git ignores.
comm -z -23 <(git ls-files -z --cached --others --exclude-standard | sort --zero-terminated) \
  <(git ls-files -z --deleted | sort --zero-terminated) |
  tar --create --null --files-from=- | tar --extract --directory build/debian/source
debian/write_changelog.py "$(git log --max-count=1 --format=%cD)" \
  >build/debian/source/debian/changelog
# Each release of Debian has one version of PHP, which the name of the extension's package tells.
php=$(php-config --version | cut --delimiter=. --fields=1,2)
sed --in-place "s/php8\.2/php$php/; s/PHP 8\.2/PHP $php/" build/debian/source/debian/control
for file in build/debian/source/debian/php8.2-qmsg.*; do
  [[ $php == 8.2 ]] || mv "$file" "${file/8.2/$php}"
done
(cd build/debian/source && dpkg-buildpackage "${binaries[@]}" --no-sign)
# Apart, so that build/package/*.deb are those to install.
mv build/debian/*-dbgsym_*.deb "$packages/debug"
mv build/debian/*.deb "$packages"
if (($# > 0)); then
  printf '%s\n' "$packages"/*.deb
  exit 0
fi

# The same objects, linked again for a folder that can be moved.
objects=build/debian/source/obj-$(dpkg-architecture --query DEB_HOST_GNU_TYPE)
cmake -DCMAKE_INSTALL_PREFIX=/usr/local -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_SKIP_INSTALL_RPATH=OFF \
  -DCMAKE_INSTALL_DOCDIR=share/doc/qmsg -DQMSG_ZSH_COMPLETION_DIR=share/zsh/site-functions "$objects"
cmake --build "$objects"
(cd "$objects" && cpack)
mv "$objects"/*.tar.gz build/package
printf '%s\n' build/package/*.* build/package/debug/*
