#!/bin/sh
# Checks the includes between folders. A file may include files of folders with a lower number in
# the list below, and of its own folder. Outside the module, only module/abi may be included from
# it. Prints the includes that violate this, and fails if there are any.
# usage: check_layers.sh [FOLDER-OF-THE-TREE]
cd "${1:-$(dirname "$0")/..}" || exit 2
find module kernel catalog hosts -name '*.h' -o -name '*.hpp' -o -name '*.cpp' | xargs awk '
  BEGIN {
    split("module/abi 0 module/text 1 module/numeric 1 module/calendar 2 module/coupons 3 " \
          "module/call 4 module/cashflow 5 module/depreciation 5 module/securities 5 module/tvm 5 " \
          "module/exports 6 kernel 7 catalog 8 hosts/call 9 hosts/sql 10 hosts/postgresql 11 " \
          "hosts/sqlite 11 hosts/duckdb 11 hosts/python 11 hosts/cli/io 11 hosts/cli/expression 12 hosts/cli/engines 13 " \
          "hosts/cli/table 13 hosts/cli 14", list, " ")
    for (i = 1; i in list; i += 2) level[list[i]] = list[i + 1]
  }
  function folder(path) {
    sub("/[^/]*$", "", path)
    return path
  }
  /^#include "/ {
    to = folder($2)
    sub("\"", "", to)
    from = folder(FILENAME)
    if (!(to in level)) to = "module/" to  # includes in the module begin at the folder module
    if ($2 !~ "/" || to == from) next      # a generated file, or a file of the same folder
    of_module = to ~ "^module/" && from !~ "^module/" && to != "module/abi"
    if (from in level && to in level && level[to] < level[from] && !of_module) next
    print FILENAME ": " $0
    bad = 1
  }
  END { exit bad }'
