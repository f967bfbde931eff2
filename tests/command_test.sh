#!/bin/sh
# The command `finance` as its users call it: what it prints, where, and how it exits.
finance=$1
failures=0

# expect EXIT OUTPUT ARGUMENT...: standard output and standard error together
expect() {
  status=$1 wanted=$2
  shift 2
  got=$("$finance" "$@" 2>&1 </dev/null)
  code=$?
  if [ "$code" != "$status" ] || [ "$got" != "$wanted" ]; then
    printf 'finance %s\n  wanted (%s): %s\n  got (%s): %s\n' "$*" "$status" "$wanted" "$code" "$got"
    failures=$((failures + 1))
  fi
}

expect 0 1800 SLN 10000 1000 5
expect 0 1800 sln +1e4 1000. 5
expect 0 333.1666666666667 SLN -.5 -1e3 3
expect 0 21915 SLN 2020-01-01 1960-01-01 1
expect 0 100000 SLN 1e5 0 1
expect 0 1e+17 SLN 1e17 0 1
expect 0 -5e-07 SLN 0 1 2e6
expect 1 'finance: DB: argument 4 (period) is 8: outside the allowed range' DB 1e6 1e5 6 8 7
expect 1 'finance: SYD: argument 3 (life) is 2.5: must be a whole number' SYD 9 1 2.5 1
expect 1 'finance: SLN: argument 2 (salvage) is .: must not be missing' SLN 1 . 1
expect 1 'finance: SLN: argument 1 (cost) is 2021-02-30: must be a number' SLN 2021-02-30 1 1
expect 1 'finance: SLN: argument 1 (cost) is inf: must be a number' SLN inf 1 1
expect 1 'finance: DB: takes 4 to 5 arguments, not 1' DB 1
expect 1 'finance: SLM: no such keyword' SLM 1 2 3
expect 2 'finance: cannot read /no/such/file' --calls /no/such/file
expect 2 'finance: no such option: --bogus
Run `finance --help` for what it takes.' --bogus

printf 'SLN 10000 1000 5 # van\r\n\n# comment\nSLN 1 2\n"sln" 9 0 '\''3'\''\nSLN '\''1 2 3\nDDB 9 1 3 1' >calls.$$
got=$("$finance" --calls - <calls.$$ 2>errors.$$)
code=$?
wanted='1800
.
3
.
6'
errors='finance: -:4: SLN: takes 3 arguments, not 2
finance: -:6: a quotation is not closed'
if [ "$code" != 1 ] || [ "$got" != "$wanted" ] || [ "$(cat errors.$$)" != "$errors" ]; then
  printf 'finance --calls -\n%s\n%s\n' "$got" "$(cat errors.$$)"
  failures=$((failures + 1))
fi
rm -f calls.$$ errors.$$
exit "$failures"
