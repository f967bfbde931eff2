#!/bin/sh
# Progress on a narrow terminal. Skipped, with 77, where the system has no terminals, as in a chroot
# without /dev/pts.
# usage: terminal.sh COMMAND
script -qec true /dev/null </dev/null >/dev/null 2>&1 || exit 77
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
seen=$(script -qec "stty cols 8; (echo x; sleep 2; echo 5) | '$1' -o '$folder/x.csv' -e y=x" /dev/null </dev/null |
  tr '\r' '\n' | cat -v | grep .)
[ "$seen" = "$(printf '1 rows,^[[K\n^[[K')" ] || { echo "$seen"; exit 1; }
