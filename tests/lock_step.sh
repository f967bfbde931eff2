#!/usr/bin/env bash
# A program that sends rows and keeps the input open must receive the result of each row.
# usage: lock_step.sh COMMAND...   for each input line "1000 0 5" it must print a line that ends in 200
set -u
coproc "$@"
for rows in 1 2 500 1 3000; do
  for ((i = 0; i < rows; ++i)); do printf '1000\t0\t5\n'; done >&"${COPROC[1]}"
  for ((i = 0; i < rows; ++i)); do
    IFS= read -r -t 20 result <&"${COPROC[0]}" && [[ $result == *200 ]] ||
      { echo "row $i of $rows: ${result:-no result}"; exit 1; }
  done
done
