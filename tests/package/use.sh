# Sourced by the tests. What the packages are used for, from the top folder of the source tree.
# shellcheck shell=bash

expect_quickstart() {
  local folder expected
  folder=$(mktemp --directory)
  eval "local flags=($(pkg-config --cflags --libs qmsg))" # pkg-config quotes for the shell
  # shellcheck disable=SC2154  # assigned by eval
  g++ -std=c++17 examples/quickstart/main.cc "${flags[@]}" -o "$folder/quickstart"
  # shellcheck disable=SC2016  # The backquotes are Markdown's.
  expected=$(sed --quiet '/^```json$/{n;p;q}' README.md)
  expect_equal 'what the quickstart prints' "$expected" "$("$folder/quickstart")" \
    'See the rules of qmsg_runtime and qmsg_development in cmake/Install.cmake.'
  rm --recursive "$folder"
}

# Field 2, the number 0.
expect_python() { # IMPLEMENTATION
  expect_equal 'the messages in Python' "$1: 1000" "$(/usr/bin/python3 -W error -c '
import qmsg
from qmsg import tarq_pb2
query = tarq_pb2.SqlQuery(connection_id=0)
print(f"{qmsg.implementation()}: {query.SerializeToString().hex()}")')" \
    'See python/CMakeLists.txt, and whether a libqmsg is installed that does not belong here.'
}

# Field 7, a varint: 7 * 8 + 0 = 0x38.
expect_tool() {
  expect_text 'what the tool says of SqlQuery.flags' 'tag 38, varint' \
    "$(qmsg describe SqlQuery.flags)" 'See the rules of qmsg_tools in cmake/Install.cmake.'
  expect_text 'what the tool says of the library' 'load it loads in a process of its own' \
    "$(qmsg doctor || true)" 'See where cmake/Install.cmake puts qmsg_probe.'
}
