#!/usr/bin/env bash
# Usage: run.sh [FOLDER]
# Checks the Debian packages that ./dev package has left in FOLDER: their files, what they say of
# themselves, and what can be done with them once unpacked.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
. tests/install/check.sh
. tests/install/stage.sh
. tests/package/use.sh
export LC_ALL=C

packages=${1:-build/package}
version=$(sed --quiet 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$packages/CMakeCache.txt")
architecture=$(dpkg --print-architecture)
libdir=lib/$(dpkg-architecture --query DEB_HOST_MULTIARCH)
scratch=$(mktemp --directory)
trap 'rm --recursive --force "$scratch"' EXIT

names=$(cd "$packages" && echo ./*.deb)
expect_equal 'the packages' "./libqmsg-dev_${version}_$architecture.deb \
./libqmsg1_${version}_$architecture.deb ./python3-qmsg_${version}_all.deb \
./qmsg-tools_${version}_$architecture.deb" "$names" \
  'See cmake/Package.cmake.'

# The development package holds what the others leave.
manifest() { # PACKAGE
  if [[ $1 == libqmsg-dev ]]; then
    grep --invert-match --line-regexp --fixed-strings --file=tests/package/libqmsg1.txt \
      --file=tests/package/qmsg-tools.txt tests/install/manifest.txt
  else
    cat "tests/package/$1.txt"
  fi | sed "s|^LIBDIR|$libdir|; s|CONFIG|release|; s|^ZSHDIR|share/zsh/vendor-completions|" | LC_ALL=C sort
}

for package in libqmsg1 libqmsg-dev python3-qmsg qmsg-tools; do
  dpkg-deb --extract "$packages/$package"_*.deb "$scratch/$package"
  difference=$(diff <(manifest "$package") <(installed_files "$scratch/$package/usr")) || true
  expect_equal "the files of $package" '' "$difference" \
    'Correct the components in cmake/Install.cmake or python/CMakeLists.txt, or the manifest here.'
done

while read -r package field expected; do
  expected=${expected//VERSION/$version}
  found=$(dpkg-deb --field "$packages/$package"_*.deb "$field")
  # shellcheck disable=SC2053  # The expected value is a pattern.
  [[ $found == ${expected/ARCHITECTURE/$architecture} ]] ||
    fail "$field of $package" "$expected" "$found" 'See cmake/Package.cmake.'
done <tests/package/control.txt

expect_equal 'what is said to packages that are linked with the library' \
  "libqmsg 1 libqmsg1 (>= $version)" "$(dpkg-deb --info "$packages"/libqmsg1_*.deb shlibs)" \
  'Keep CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS in cmake/Package.cmake.'

export PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$scratch/python3-qmsg/usr/lib/python3/dist-packages
unset LD_LIBRARY_PATH PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION
expect_python 'C++ runtime, dynamic'

dpkg-deb --extract "$packages"/libqmsg1_*.deb "$scratch/libqmsg-dev"
export PKG_CONFIG_PATH=$scratch/libqmsg-dev/usr/$libdir/pkgconfig
export LD_LIBRARY_PATH=$scratch/libqmsg-dev/usr/$libdir
expect_quickstart
expect_python 'compiled classes'
PATH=$scratch/qmsg-tools/usr/bin:$PATH
expect_tool
echo "The packages of $packages hold, say and do what they should."
