#!/bin/sh
# Draws the pictures of the documents, and builds the documents as a site in FOLDER/site.
# usage: make_site.sh FOLDER-OF-THE-PYTHON-PACKAGE FOLDER
set -eu
export PYTHONPATH="$1" PYTHONDONTWRITEBYTECODE=1
root=$(cd "${0%/*}/.." && pwd)
folder=$(cd "$2" && pwd)
/usr/bin/python3 "$root/docs/pictures/draw.py" "$folder/pictures"
/usr/bin/python3 -m mkdocs build --config-file "$root/mkdocs.yml" --site-dir "$folder/site"
