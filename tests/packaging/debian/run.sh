#!/usr/bin/env bash
# Usage: run.sh [FOLDER]
# Checks the Debian packages and the tarball that ./dev package has left in FOLDER: their files, what
# they say of themselves, what Debian's policy says of them, and what can be done with them once
# unpacked. What it takes, ./dev package --check installs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../../.."
. tests/packaging/check.sh
. tests/packaging/stage.sh
. tests/packaging/debian/use.sh
export LC_ALL=C

packages=${1:-build/package}
version=$(sed --quiet 's/^project(qmsg VERSION \([^ ]*\).*/\1/p' CMakeLists.txt)
soversion=$(sed --quiet 's/^set(qmsg_soversion \(.*\))$/\1/p' CMakeLists.txt)
architecture=$(dpkg --print-architecture)
libdir=lib/$(dpkg-architecture --query DEB_HOST_MULTIARCH)
php=$(php-config --version | cut --delimiter=. --fields=1,2)
tarball=$packages/qmsg-$version-Linux-$(uname --machine).tar.gz
scratch=$(mktemp --directory)
trap 'rm --recursive --force "$scratch"' EXIT

expect_equal 'the packages' "libqmsg-dev_${version}_$architecture.deb
libqmsg${soversion}_${version}_$architecture.deb
php$php-qmsg_${version}_$architecture.deb
python3-qmsg_${version}_all.deb
qmsg-tools_${version}_$architecture.deb" "$(cd "$packages" && printf '%s\n' *.deb)" \
  'See debian/control; its libqmsgN follows qmsg_soversion in CMakeLists.txt.'
expect_equal 'the packages with debug information' \
  "libqmsg$soversion-dbgsym_${version}_$architecture.deb
php$php-qmsg-dbgsym_${version}_$architecture.deb
qmsg-tools-dbgsym_${version}_$architecture.deb" "$(cd "$packages/debug" && printf '%s\n' *.deb)" \
  'dh_strip makes them, if what it strips was compiled with -g: see debian/rules.'

# Each is explained in debian/PACKAGE.lintian-overrides, or is none of ours.
lintian --allow-root --display-info --pedantic --tag-display-limit 0 \
  --fail-on error,warning,info,pedantic "$packages"/*.deb "$packages"/debug/*.deb ||
  fail "Debian's policy" 'no complaint of lintian' 'the lines above' \
    'lintian-explain-tags TAG says more; an override gives its reason in a comment.'

# The development package holds what the others leave.
manifest() { # PACKAGE
  if [[ $1 == libqmsg-dev ]]; then
    grep --invert-match --line-regexp --fixed-strings --file=tests/packaging/debian/libqmsg1.txt \
      --file=<(sed 's/\.gz$//' tests/packaging/debian/qmsg-tools.txt) tests/packaging/manifest.txt
  fi
  sed "s|PHPVERSION|$php|; s|PHPINTERFACE|$(php-config --phpapi)|" "tests/packaging/debian/${1/$php/}.txt"
  if [[ $1 == libqmsg-dev ]]; then
    cat tests/packaging/debian/reference.txt
  fi
}

for package in libqmsg1 libqmsg-dev "php$php-qmsg" python3-qmsg qmsg-tools; do
  dpkg-deb --extract "$packages/$package"_*.deb "$scratch/$package"
  difference=$(diff \
    <(manifest "$package" | manifest_lines . "$libdir" release share/zsh/vendor-completions \
      share/doc/libqmsg-dev) \
    <(installed_files "$scratch/$package/usr")) || true
  expect_equal "the files of $package" '' "$difference" \
    "Correct debian/$package.install, the rules in cmake/Install.cmake, or the manifest here."
done

while read -r package field expected; do
  package=${package/#php-/php$php-}
  expected=${expected//VERSION/$version}
  found=$(dpkg-deb --field "$packages/$package"_*.deb "$field")
  # shellcheck disable=SC2053  # The expected value is a pattern.
  [[ $found == ${expected/ARCHITECTURE/$architecture} ]] ||
    fail "$field of $package" "$expected" "$found" 'See debian/control.'
done <tests/packaging/debian/control.txt

expect_equal 'what is said to packages that are linked with the library' \
  "libqmsg $soversion libqmsg$soversion (>= $version)" \
  "$(dpkg-deb --info "$packages"/libqmsg1_*.deb shlibs)" 'dh_makeshlibs writes this.'

# Modules of Python are compiled on installation, those of PHP are switched on. The library's package has
# a trigger for ldconfig.
while read -r package expected; do
  package=${package/#php-/php$php-}
  expect_equal "the scripts and triggers of $package" "$expected" "$(
    dpkg-deb --ctrl-tarfile "$packages/$package"_*.deb | tar --list |
      grep --extended-regexp --only-matching '(pre|post)(inst|rm)$|triggers$' | sort | xargs
  )" 'What debhelper writes is enough: see debian/rules.'
done <<'SCRIPTS'
libqmsg1 triggers
libqmsg-dev
php-qmsg postinst postrm preinst prerm
qmsg-tools
python3-qmsg postinst prerm
SCRIPTS

library=$scratch/libqmsg1/usr/$libdir/libqmsg.so.$version
build_id=$(readelf --notes "$library" | sed --quiet 's/^ *Build ID: //p')
dpkg-deb --extract "$packages"/debug/libqmsg1-dbgsym_*.deb "$scratch/debug"
debug=$scratch/debug/usr/lib/debug/.build-id/${build_id:0:2}/${build_id:2}.debug
[[ -f $debug ]] ||
  fail 'the debug information' "that of the library: ${debug#"$scratch/debug"}" \
    "$(installed_files "$scratch/debug")" 'See dh_strip in the log of ./dev package.'

/usr/bin/python3 -B tests/surface/surface.py "$library" "$scratch/libqmsg-dev/usr/include/qmsg" ||
  fail "the library's exports" 'those of the tested library' 'the lines above' \
    'See which flags debian/rules lets dpkg add.'

# Unpacked in a folder that nothing was built for, the tarball needs nothing that tells of it.
prefix="$scratch/moved prefix"
mkdir "$prefix"
tar --extract --file "$tarball" --directory "$prefix" --strip-components=1
difference=$(diff \
  <(cat tests/packaging/manifest.txt tests/packaging/debian/reference.txt |
    manifest_lines . lib release share/zsh/site-functions share/doc/qmsg) \
  <(installed_files "$prefix")) || true
expect_equal 'the files of the tarball' '' "$difference" \
  'Correct the rules in cmake/Install.cmake, or tests/packaging/manifest.txt.'

/usr/bin/python3 -B tests/docs/links.py "$scratch" ||
  fail 'the links of the documents' 'a file and a heading for each' 'the lines above' \
    'See cmake/fit_links.cmake, and how debian/*.install splits what is installed.'

# Debian's options change nothing in what runs.
cmake --preset release >/dev/null
cmake --build --preset release --target qmsg
code() { # LIBRARY
  objcopy --only-section=.text --only-section=.rodata --only-section=.dynstr \
    --output-target=binary "$1" "$scratch/code"
  sha256sum <"$scratch/code"
}
expect_equal "the library's code in the package" \
  "$(code "build/release/src/libqmsg.so.$version")" "$(code "$library")" \
  'See which flags debian/rules adds to those of the preset release.'

unset LD_LIBRARY_PATH PKG_CONFIG_PATH PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION PYTHONPATH
export PYTHONDONTWRITEBYTECODE=1
use_tarball() {
  local -x PATH=$prefix/bin:$PATH
  expect_tool
  expect_consumer "-Dqmsg_ROOT=$prefix"
  expect_example "$prefix/share/doc/qmsg" "-Dqmsg_ROOT=$prefix"
  local -x PKG_CONFIG_PATH=$prefix/lib/pkgconfig LD_LIBRARY_PATH=$prefix/lib
  expect_quickstart
}
use_tarball

export PYTHONPATH=$scratch/python3-qmsg/usr/lib/python3/dist-packages
expect_python 'C++ runtime, dynamic'

dpkg-deb --extract "$packages"/libqmsg1_*.deb "$scratch/libqmsg-dev"
root=$scratch/libqmsg-dev/usr
expect_consumer "-Dqmsg_ROOT=$root"
expect_example "$root/share/doc/libqmsg-dev" "-Dqmsg_ROOT=$root"
export PKG_CONFIG_PATH=$root/$libdir/pkgconfig LD_LIBRARY_PATH=$root/$libdir
expect_quickstart
expect_python 'compiled classes'
PATH=$scratch/qmsg-tools/usr/bin:$PATH
expect_tool
expect_equal 'the manual page' "$scratch/qmsg-tools/usr/share/man/man1/qmsg.1.gz" \
  "$(man --manpath="$scratch/qmsg-tools/usr/share/man" --where qmsg)" \
  'See debian/qmsg-tools.install.'
echo "What is in $packages holds, says and does what it should."
