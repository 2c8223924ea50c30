#!/usr/bin/env bash
# Usage: export_map.sh NM MAP OBJECT...
# Writes to MAP a linker version script that exports, of all that the OBJECTs define:
#   the members of message classes, but not those of the classes nested in them,
#   the virtual tables and type information of message classes,
#   default instances, arena factories, descriptor tables, table structs and enum functions.
set -euo pipefail

nm=$1 map=$2
shift 2

package='quor::protobuf::[A-Za-z]+'
message="$package::[A-Za-z]\w*"
exported="^($message::(~?\w+|operator=)(\[abi:cxx11\])?(\(.*)?\
|(vtable|typeinfo|typeinfo name) for $message\
|$package::_\w+_default_instance_\
|${message}_(IsValid|descriptor)\(.*\
|$message\* google::protobuf::Arena::CreateMaybeMessage<$message>\(.*\
|descriptor_table_\w+_2eproto\
|TableStruct_\w+_2eproto::(offsets|operator=\(.*))"$'\t'
default_instance_holder="${message}DefaultTypeInternal\b"

names=$("$nm" --defined-only --extern-only --format=just-symbols "$@" | grep -E '^\w+$' | sort -u)
{
  printf '{\nglobal:\n'
  paste <(c++filt <<<"$names") - <<<"$names" |
    grep -vE "$default_instance_holder" | grep -E "$exported" | cut -f 2 | sed 's/.*/  &;/'
  printf 'local:\n  *;\n};\n'
} >"$map"
