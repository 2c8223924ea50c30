#!/bin/sh
# Writes FOLDER/types.h, a table of all message types: protobuf-c does not find a type by its name,
# but its headers declare every descriptor.
# usage: list_types.sh FOLDER
set -eu
cd "$1"
{
  printf '#include "%s"\n' *.pb-c.h
  echo 'static const ProtobufCMessageDescriptor* const types[] = {'
  sed -n 's/^extern const ProtobufCMessageDescriptor \(.*\);/  \&\1,/p' ./*.pb-c.h
  echo '};'
} >types.h
