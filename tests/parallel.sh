#!/usr/bin/env bash
# GNU parallel starts one process per block of lines, as engines of clusters do. Their results must be
# those of one process, byte for byte.
# usage: parallel.sh FINANCE
set -euo pipefail
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
awk 'BEGIN {
  for (i = 1; i <= 300000; ++i)
    if (i % 3 == 0) printf "%d\tXIRR\t[-100,%d]\t[\x272020-01-01\x27,\x272021-02-%02d\x27]\n", i, 90 + i % 40, 1 + i % 28
    else printf "%d\tPRICE\t2026-11-23\t%d-05-15\t0.04375\t%s\t100\t2\tACTUAL\n", i, 2020 + i % 30, i % 7 ? 0.01 + i / 1e7 : "\\N"
}' >"$work/rows"
"$1" --filter --keep 1 <"$work/rows" >"$work/wanted" 2>/dev/null
for how in '--block 100k' '--block 1M --jobs 3' '-N 10000'; do
  parallel --will-cite --pipe --keep-order --joblog "$work/jobs" $how "$1 --filter --keep 1" \
    <"$work/rows" 2>"$work/errors" | cmp - "$work/wanted"
  grep -q 'rows failed' "$work/errors"
  echo "GNU parallel $how: $(($(wc -l <"$work/jobs") - 1)) processes, the results of one"
done
