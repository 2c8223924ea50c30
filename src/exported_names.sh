#!/usr/bin/env bash
# Usage: exported_names.sh NM FILE OBJECT...
# Writes the names that the library exports to FILE, a version script (.map) or a module definition
# (.def) for the linker. Of the names that the OBJECTs define, these are exported:
#   the members of message classes, but not those of the classes nested in them,
#   the virtual tables and type information of message classes,
#   default instances, arena factories, descriptor tables, table structs and enum functions.
set -euo pipefail

nm=$1 file=$2
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

# Each name with the letter of its symbol type.
symbols=$("$nm" --defined-only --extern-only --format=posix "$@" |
  awk '$1 ~ /^[[:alnum:]_]+$/ { print $1, $2 }' | sort --unique --key=1,1)
list() {
  paste <(cut --delimiter=' ' --fields=1 <<<"$symbols" | c++filt) - <<<"$symbols" |
    grep -vE "$default_instance_holder" | grep -E "$exported" | cut --fields=2
}
case $file in
  *.map)
    printf '{\nglobal:\n'
    list | sed 's/ .*//; s/.*/  &;/'
    printf 'local:\n  *;\n};\n'
    ;;
  *.def)
    printf 'EXPORTS\n'
    list | sed 's/ T$//; s/ [A-Z]$/ DATA/; s/^/  /'
    ;;
esac >"$file"
