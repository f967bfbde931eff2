#!/bin/sh
# Copies a shared object and appends the 512 bytes by which DuckDB recognises an extension: eight fields
# of 32 bytes, the last one first, and room for a signature, which is empty.
# usage: add_duckdb_footer.sh SHARED-OBJECT EXTENSION VERSION
set -eu
field() {
  printf %s "$1"
  head -c $((32 - ${#1})) /dev/zero
}
{
  cat "$1"
  field ''; field ''; field ''
  field C_STRUCT  # the kind of interface
  field "v$3"
  field v1.2.0  # the interface, which is also the oldest release of DuckDB
  field linux_amd64
  field 4
  head -c 256 /dev/zero
} >"$2.new"
mv "$2.new" "$2"
