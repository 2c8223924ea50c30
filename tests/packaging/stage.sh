# Sourced by the tests. Makes a build folder that installs what the build under test has compiled:
# nothing is compiled twice, and the developer's own install manifest stays as it is.
# shellcheck shell=bash

stage() { # FOLDER CMAKE_ARGUMENT...
  local folder=$1
  shift
  rm -rf "$folder"
  cmake -S "$QMSG_SOURCE" -B "$folder" -DBUILD_TESTING=OFF -DQMSG_BUILD_EXAMPLES=OFF \
    "-DCMAKE_BUILD_TYPE=$QMSG_BUILD_TYPE" "$@"
  cp -a "$QMSG_BUILD"/src/{generated,libqmsg.so*} "$folder/src"
  [[ ! -d $folder/tools ]] || cp -a "$QMSG_BUILD"/tools/{pages,qmsg,qmsg-probe} "$folder/tools"
}

# Lists the files below a folder, and where the links among them lead.
installed_files() { # FOLDER
  find "$1" -type l -printf '%P -> %l\n' -o -type f -printf '%P\n' | LC_ALL=C sort
}

# The files that a manifest names, for these folders. Pages and examples are those of the source tree.
manifest_lines() { # SOURCE LIBDIR CONFIGURATION ZSHDIR DOCDIR <MANIFEST
  local line
  while IFS= read -r line; do
    if [[ $line == DOCDIR/PAGES ]]; then
      (cd "$1" && find docs examples -name __pycache__ -prune -o \
        -path examples/CMakeLists.txt -o -type f -printf 'DOCDIR/%p\n')
    else
      printf '%s\n' "$line"
    fi
  done | sed "s|^LIBDIR|$2|; s|CONFIG|$3|; s|^ZSHDIR|$4|; s|^DOCDIR|$5|" | LC_ALL=C sort
}
