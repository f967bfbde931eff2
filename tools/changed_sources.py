#!/usr/bin/env python3
"""Prints the C++ sources that differ, or include a file that differs, between a commit and the working
tree. usage: changed_sources.py BUILD-FOLDER COMMIT"""
import os
import re
import subprocess
import sys

build, commit = sys.argv[1:]


def lines(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


paths = lines('git', 'diff', '--name-only', commit) + lines('git', 'ls-files', '--others', '--exclude-standard')
changed = {os.path.realpath(path) for path in paths}
# Blocks such as "x.cpp.o: #deps 2, deps mtime 1 (VALID)", and the files below it, the source first.
for block in re.split(r'^\S.*\n', '\n'.join(lines('ninja', '-C', build, '-t', 'deps')) + '\n', flags=re.M):
    files = [os.path.realpath(os.path.join(build, path)) for path in block.split()]
    if not changed.isdisjoint(files) and files[0].startswith(os.getcwd()):
        print(os.path.relpath(files[0]))
