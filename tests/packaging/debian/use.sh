# Sourced by the tests. What the packages are used for, from the top folder of the source tree.
# shellcheck shell=bash

quickstart_output() {
  sed --quiet '/^\$ \.\/hello$/{n;p;q}' README.md
}

expect_quickstart() {
  local folder
  folder=$(mktemp --directory)
  eval "local flags=($(pkg-config --cflags --libs qmsg))" # pkg-config quotes for the shell
  # shellcheck disable=SC2154  # assigned by eval
  g++ -std=c++17 examples/quickstart/main.cc "${flags[@]}" -o "$folder/quickstart"
  expect_equal 'what the quickstart prints' "$(quickstart_output)" "$("$folder/quickstart")" \
    'See what cmake/Install.cmake installs where, and how debian/*.install splits it.'
  rm --recursive "$folder"
}

# A stranger's program, built by CMake.
expect_consumer() { # CMAKE_ARGUMENT...
  local folder
  folder=$(mktemp --directory)
  tests/packaging/consumer.sh "$folder/build" "$@" >"$folder/log" 2>&1 ||
    fail 'a program built by CMake' 'success' "$(cat "$folder/log")" \
      'See the CMake files in cmake/Install.cmake, and how debian/*.install splits it.'
  rm --recursive "$folder"
}

# The example among the documents, copied as its readers would, and built by CMake.
expect_example() { # DOCUMENTS CMAKE_ARGUMENT...
  local folder
  folder=$(mktemp --directory)
  cp --recursive "$1/examples/quickstart" "$folder/source"
  shift
  { cmake -S "$folder/source" -B "$folder/build" "$@" && cmake --build "$folder/build"; } \
    >"$folder/log" 2>&1 ||
    fail 'the installed example' 'a program' "$(cat "$folder/log")" \
      'See examples/quickstart/CMakeLists.txt.'
  expect_equal 'what the installed example prints' "$(quickstart_output)" \
    "$("$folder/build/qmsg_quickstart")" 'It is to be that of examples/quickstart.'
  rm --recursive "$folder"
}

# Field 2, the number 0. What the runtime's own modules do is deprecated from Python 3.12 on.
expect_python() { # IMPLEMENTATION
  expect_equal 'the messages in Python' "$1: 1000" "$(/usr/bin/python3 -W error \
    -W 'ignore:Type google.protobuf:DeprecationWarning' \
    -W 'ignore:datetime.datetime.utcfromtimestamp:DeprecationWarning' -c '
import qmsg
from qmsg import tarq_pb2
query = tarq_pb2.SqlQuery(connection_id=0)
print(f"{qmsg.implementation()}: {query.SerializeToString().hex()}")')" \
    'See python/CMakeLists.txt, and whether a libqmsg is installed that does not belong here.'
}

# A request of PHP, recorded because the package has switched the extension on.
expect_recording() {
  local folder
  folder=$(mktemp --directory)
  php -d "qmsg.output=file:$folder/records" -r 'trigger_error("noticed");' >"$folder/output"
  expect_equal 'the recorded messages' 'RInitData Error RShutdownData' \
    "$(qmsg decode --framing any --compact "$folder/records" |
      sed --quiet 's/^{"@type":"[^"]*\.\([A-Za-z]*\)".*/\1/p' | xargs)" \
    'See debian/qmsg.ini, and php --ri qmsg.'
  rm --recursive "$folder"
}

# Field 7, a varint: 7 * 8 + 0 = 0x38.
expect_tool() {
  expect_text 'what the tool says of SqlQuery.flags' 'tag 38, varint' \
    "$(qmsg describe SqlQuery.flags)" 'See the rules of qmsg_tools in cmake/Install.cmake.'
  expect_text 'what the tool says of the library' 'load it loads in a process of its own' \
    "$(qmsg doctor || true)" 'See where cmake/Install.cmake puts qmsg_probe.'
}

# What the shells and man find by themselves, once the package is installed.
expect_help() {
  local advice='See where cmake/Install.cmake and debian/rules put it, and debian/qmsg-tools.install.'
  expect_equal 'the manual page' /usr/share/man/man1/qmsg.1.gz "$(man --where qmsg)" "$advice"
  # shellcheck source=/dev/null
  expect_text 'the completion of bash' '-F _qmsg' "$(
    . /usr/share/bash-completion/bash_completion
    _completion_loader qmsg || true # 124 tells the shell to try again
    complete -p qmsg
  )" "$advice"
  # shellcheck disable=SC2016  # The variable is zsh's.
  expect_equal 'the completion of zsh' _qmsg \
    "$(zsh -f -c 'autoload -Uz compinit && compinit -D && print -- $_comps[qmsg]')" "$advice"
  expect_equal 'the completion of fish' decode \
    "$(fish --no-config --command 'source /usr/share/fish/vendor_completions.d/qmsg.fish
      complete --do-complete "qmsg deco"' | cut --fields=1)" "$advice"
}
