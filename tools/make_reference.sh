#!/bin/sh
# Writes the reference, a page a keyword and their list by task, from what the command says.
# usage: make_reference.sh COMMAND FOLDER
set -eu
"$1" --list | awk -v folder="$2" -v command="$1" '
  BEGIN { print "# Reference\n\nWhat `finance --describe` prints of each keyword, by task." }
  /^[^ ]/ { print "\n## " $0 "\n"; next }
  NF {
    word = $1; sub(/^ *[A-Z]+ */, ""); print "- [" word "](" word ".md): " $0
    system(command " --describe " word " >" folder "/" word ".md")
  }' >"$2/README.md"
