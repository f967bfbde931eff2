#!/bin/sh
# Writes the reference: a page per keyword, as the command prints it, and a list of the pages by task.
# usage: make_reference.sh COMMAND FOLDER
set -eu
"$1" --list | awk -v folder="$2" -v command="$1" -v introduction="${0%/*}/reference_introduction.md" '
  BEGIN { while ((getline line < introduction) > 0) print line }
  /^[^ ]/ { print "\n## " $0 "\n"; next }
  NF {
    word = $1; sub(/^ *[A-Z]+ */, ""); print "- [" word "](" word ".md): " $0
    system(command " --describe " word " >" folder "/" word ".md")
  }' >"$2/README.md"
