#!/bin/sh
# Checks the progress display on a narrow terminal. Returns 77 (skipped) if the system has no
# terminals, for example in a chroot without /dev/pts.
# usage: terminal.sh COMMAND
script -qec true /dev/null </dev/null >/dev/null 2>&1 || exit 77
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
seen=$(script -qec "stty cols 8; (echo x; sleep 2; echo 5) | '$1' -o '$folder/x.csv' -e y=x" /dev/null </dev/null |
  tr '\r' '\n' | cat -v | grep .)
[ "$seen" = "$(printf '1 rows,^[[K\n^[[K')" ] || { echo "$seen"; exit 1; }
