#!/bin/sh
# Writes the reference: a page per keyword, as the command prints it, and a list of the pages by task.
# On a page, the related keywords and the sections of conventions.md become links.
# usage: make_reference.sh COMMAND FOLDER
set -eu
"$1" --list | awk -v folder="$2" -v command="$1" -v introduction="${0%/*}/reference_introduction.md" '
  function linked(line, section,    anchor) {
    if (section == "See also" && line ~ /^- /) {
      sub(/^- /, "", line)
      sub(/^[A-Z]+/, "- [&](&.md)", line)
    }
    if (section != "What may surprise") return line
    if (!sub(/^- /, "", line)) {
      sub(/docs\/conventions\.md/, "[conventions.md](../conventions.md)", line)
      return line
    }
    anchor = tolower(line)
    gsub(/[^a-z0-9 -]/, "", anchor)
    gsub(/ /, "-", anchor)
    return "- [" line "](../conventions.md#" anchor ")"
  }
  BEGIN { while ((getline line < introduction) > 0) print line }
  /^[^ ]/ { print "\n## " $0 "\n"; next }
  NF {
    word = $1; sub(/^ *[A-Z]+ */, ""); print "- [" word "](" word ".md): " $0
    section = ""; page = command " --describe " word
    while ((page | getline line) > 0) {
      if (line ~ /^## /) section = substr(line, 4)
      print linked(line, section) >(folder "/" word ".md")
    }
    close(page)
  }' >"$2/README.md"
