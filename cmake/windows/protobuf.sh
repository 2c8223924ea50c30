#!/usr/bin/env bash
# Usage: cmake/windows/protobuf.sh
# Builds the protobuf runtime for Windows from the source package of the one that is installed here,
# and prints the folder that it is in, in the user's cache, where it is found the next time.
# apt checks the sources' signatures; its own settings and lists are not touched.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck disable=SC2016  # The variable is dpkg-query's.
version=$(dpkg-query --show --showformat='${source:Version}' libprotobuf-dev)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/qmsg/windows
recipe=$(cat "$here/protobuf.sh" "$here/toolchain.cmake" | sha256sum | cut --characters=1-8)
prefix=$cache/protobuf-$version-$recipe

if [[ -d $prefix ]]; then
  echo "$prefix"
  exit
fi
exec 3>&1 >&2 # what follows is for people; standard output is for the folder's name

mkdir --parents "$cache"
work=$(mktemp --directory --tmpdir="$cache")
trap 'rm --recursive --force "$work"' EXIT

echo "Fetching the source of protobuf $version"
keys=/usr/share/keyrings/debian-archive-keyring.gpg
# shellcheck disable=SC2016  # The variables are apt-get's.
apt-get indextargets --format "deb-src [signed-by=$keys] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)" \
  'Created-By: Packages' 'Origin: Debian' | sort --unique >"$work/sources.list"
[[ -s $work/sources.list ]] || {
  echo "$0: apt knows of no Debian mirror. First, as root: apt-get update. If it has none either," \
    "add one to /etc/apt/sources.list."
  exit 1
}
mkdir --parents "$work/lists/partial" "$work/source"
apt_here() {
  apt-get --quiet --quiet -o APT::Sandbox::User=root \
    -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work" "$@"
}
apt_here update
(cd "$work/source" && apt_here source "protobuf=$version")

# Optimised and with the checks of the runtime that NDEBUG would take away, as Debian builds it.
echo "Building it for Windows"
cmake -S "$work"/source/protobuf-*/ -B "$work/build" -G Ninja \
  "-DCMAKE_TOOLCHAIN_FILE=$here/toolchain.cmake" \
  "-DCMAKE_CXX_FLAGS=-w -ffile-prefix-map=$work/source/=" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O2 "-DCMAKE_INSTALL_PREFIX=$prefix" \
  -Dprotobuf_BUILD_SHARED_LIBS=ON -Dprotobuf_BUILD_PROTOC_BINARIES=OFF \
  -Dprotobuf_BUILD_TESTS=OFF -Dprotobuf_WITH_ZLIB=OFF
cmake --build "$work/build" --parallel "$(nproc)"
DESTDIR=$work/root cmake --install "$work/build" --strip
mv "$work/root$prefix" "$prefix" # complete, or not there
echo "$prefix" >&3
