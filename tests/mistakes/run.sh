#!/usr/bin/env bash
# Plants the mistakes listed beside this script, one at a time, in a copy of the tree, rebuilds and
# demands that a test fails. A line of a list is a file, a sed command that changes one line of it,
# and after " # " what is then wrong.
# usage: run.sh [--apply] [PATTERN]   only lines that match the pattern; --apply builds nothing
set -euo pipefail
cd "$(dirname "$0")/../.."
apply_only=
if [ "${1:-}" = --apply ]; then apply_only=yes && shift; fi
tree=$(mktemp -d) planted=0 bad=0
trap 'rm -rf "$tree"' EXIT
mistakes=$(cat tests/mistakes/*.txt | grep -v '^ *\(#\|$\)' | grep -e "${1:-}")
git ls-files -z | xargs -0 cp --parents -t "$tree"
cd "$tree"

build() {
  cmake --build build --target vxfnc finance unit_tests module_tests sqlite_tests finance_postgresql \
    postgresql_script >log 2>&1
}
pass() { ctest --test-dir build -E mistakes --stop-on-failure --timeout 60 >log 2>&1; }
fate() { # FILE: what becomes of a mistake in it
  if [ "$(diff saved "$1" | grep -c '^<')" != 1 ]; then echo "does not change one line"
  elif [ $apply_only ]; then echo applies
  elif ! build; then echo "does not build"
  elif pass; then echo survives
  else echo "fails a test"
  fi
}

if [ ! $apply_only ]; then
  cmake -G Ninja -B build -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 >log
  if ! build || ! pass; then cat log && exit 2; fi
fi
while read -r file command; do
  cp "$file" saved
  sed -i "${command% # *}" "$file"
  result=$(fate "$file")
  planted=$((planted + 1))
  case $result in applies | fails*) ;; *) bad=$((bad + 1)) && echo "$result: $file $command" ;; esac
  cp saved "$file"
done <<<"$mistakes"
echo "$planted mistakes planted, $bad unnoticed or broken"
[ $bad = 0 ]
