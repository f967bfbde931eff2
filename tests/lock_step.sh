#!/usr/bin/env bash
# Whoever sends rows and waits for their answers with the input still open gets all of them.
# usage: lock_step.sh COMMAND...: answers each line "1000 0 5" (with tabs) by a line that holds 200
set -u
coproc "$@"
for rows in 1 2 500 1 3000; do
  for ((i = 0; i < rows; ++i)); do printf '1000\t0\t5\n'; done >&"${COPROC[1]}"
  for ((i = 0; i < rows; ++i)); do
    IFS= read -r -t 20 answer <&"${COPROC[0]}" && [[ $answer == *200 ]] ||
      { echo "row $i of $rows: no answer, or ${answer:-nothing}"; exit 1; }
  done
done
