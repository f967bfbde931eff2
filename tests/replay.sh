#!/bin/sh
# Replays transcripts: every line that begins with "$ " is run, and what it prints must be what
# stands below it; [N] below that is an exit status other than 0, which documents may leave out.
# usage: replay.sh FOLDER-OF-THE-COMMAND TRANSCRIPT DOCUMENT...
PATH=$1:$PATH
replay() {
  grep '^\$ ' "$1" | while IFS= read -r line; do
    printf '%s\n' "$line"
    sh -c "${line#??}" 2>&1 </dev/null || echo "[$?]"
  done
}
failed=0
replay "$2" | diff "$2" - || failed=1
shift 2
for document; do
  replay "$document" | grep -v '^\[[0-9]*\]$' >"replay.$$"
  sed -n '/^\$ /,/^```/{/^```/!p}' "$document" | diff - "replay.$$" || failed=1
  rm "replay.$$"
done
exit $failed
