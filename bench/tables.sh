#!/usr/bin/env bash
# Measures the speed of the command for a table: one PRICE for each of 1,000,000 bonds, in rows of
# 66 bytes, in comparison with a program written by hand for this table. Best of five alternating
# runs.
# usage: tables.sh FOLDER-OF-THE-COMMANDS
set -euo pipefail
bin=$1
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

awk 'BEGIN {
  print "isin,issuer,settle,maturity,coupon,yield,redemption,frequency,basis"
  for (i = 0; i < 1000000; ++i)
    printf "XS%010d,ISSUER,2026-11-23,%d-%02d-%02d,%.3f,%.4f,100.00,%d,%d\n", i, 2027 + rand() * 30,
      1 + rand() * 12, 1 + rand() * 28, 1 + 8 * rand(), 1 + 8 * rand(), 2 ^ int(3 * rand()),
      int(5 * rand())
}' >"$work/bonds.csv"
formula='price = PRICE(settle, maturity, coupon/100, yield/100, redemption, frequency, basis)'

plain() { "$bin/plain_table" "$work/bonds.csv"; }
command_on() { "$bin/finance" -j "$1" -i "$work/bonds.csv" -e "$formula"; }

# Measures the seconds of a run and keeps the best time of each name.
declare -A best
time_of() { # NAME COMMAND...
  local name=$1 began=$EPOCHREALTIME
  shift
  "$@" >"$work/$name.csv"
  local ended=$EPOCHREALTIME
  best[$name]=$(awk -v a="$began" -v b="$ended" -v c="${best[$name]:-99}" \
    'BEGIN { print b - a < c ? b - a : c }')
}
# The same bonds as rows for --filter.
awk -F, -v OFS='\t' 'NR > 1 { print $3, $4, $5 / 100, $6 / 100, $7, $8, $9 }' "$work/bonds.csv" >"$work/rows.tsv"
filter() { "$bin/finance" --filter PRICE <"$work/rows.tsv"; }
for _ in 1 2 3 4 5; do
  time_of plain plain
  time_of one command_on 1
  time_of two command_on 2
  time_of filter filter
done

cmp "$work/one.csv" "$work/two.csv"
paste -d, <(cut -d, -f10 "$work/plain.csv") <(cut -d, -f10 "$work/one.csv") |
  awk -F, 'NR > 1 && ($1 - $2 > 1e-9 || $2 - $1 > 1e-9) { print "prices differ:", $0; exit 1 }'

echo "| Program | Seconds | Million rows per second | Relative time |"
echo "|---|---:|---:|---:|"
row() { # NAME TITLE
  awk -v title="$2" -v s="${best[$1]}" -v plain="${best[plain]}" \
    'BEGIN { printf "| %s | %.2f | %.1f | %.2f |\n", title, s, 1 / s, s / plain }'
}
row plain "program written for this table, one thread"
row one "\`finance -j 1\`"
row two "\`finance -j 2\`"
row filter "\`finance --filter PRICE\`, rows of arguments"
