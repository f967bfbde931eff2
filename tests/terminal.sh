#!/bin/sh
# Checks the progress display on a narrow terminal, and the note about a table from the terminal. Returns 77 (skipped) if the system has no
# terminals, for example in a chroot without /dev/pts.
# usage: terminal.sh COMMAND
script -qec true /dev/null </dev/null >/dev/null 2>&1 || exit 77
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
seen=$(script -qec "stty cols 8; (echo x; sleep 2; echo 5) | '$1' -o '$folder/x.csv' -e y=x" /dev/null </dev/null |
  tr '\r' '\n' | cat -v | grep .)
[ "$seen" = "$(printf '1 rows,^[[K\n^[[K')" ] || { echo "$seen"; exit 1; }
seen=$(printf 'x\n\004' | script -qec "'$1' -e y=1" /dev/null | tr -d '\r')
echo "$seen" | grep -qx 'finance: reading the table from standard input; -i FILE reads a file' || { echo "$seen"; exit 1; }
