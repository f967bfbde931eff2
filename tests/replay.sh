#!/bin/sh
# Replays transcripts. Executes each line that begins with "$ " and compares the output with the
# lines below it. [N] at the end is the exit status if it is not 0; documents may omit it. Commands
# run in the current folder and write files only to $TMPDIR.
# usage: replay.sh FOLDER-OF-THE-COMMAND TRANSCRIPT... [-- DOCUMENT...]
PATH=$(cd "$1" && pwd):$PATH
TMPDIR=$(mktemp -d)
LC_ALL=C
export PATH TMPDIR LC_ALL
trap 'rm -r "$TMPDIR"' EXIT
replay() {
  grep '^\$ ' "$1" | while IFS= read -r line; do
    printf '%s\n' "$line"
    sh -c "${line#??}" 2>&1 </dev/null || echo "[$?]"
  done
}
shift
failed=0
while [ $# -gt 0 ] && [ "$1" != -- ]; do
  replay "$1" >"$TMPDIR/replayed"
  diff "$1" "$TMPDIR/replayed" || failed=1
  shift
done
[ $# -eq 0 ] || shift
for document; do
  replay "$document" | grep -v '^\[[0-9]*\]$' >"$TMPDIR/replayed"
  sed -n '/^\$ /,/^```/{/^```/!p}' "$document" | diff - "$TMPDIR/replayed" || failed=1
done
exit $failed
