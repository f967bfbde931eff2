#!/usr/bin/env python3
"""Plants the mistakes of mistakes.txt one at a time in a copy of the tree, rebuilds it and checks
that a test fails."""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

LIST = pathlib.Path(__file__).resolve().with_suffix(".txt")
TARGETS = ("vxfnc vxkernel vxkernel_shared finance manual unit_tests module_tests sqlite_tests "
           "finance_postgresql postgresql_script duckdb_extension duckdb_shell duckdb_tests python_package")


def mistakes():
    """Yields the file, the sentence, the old text and the new text of each mistake."""
    for line in LIST.read_text().splitlines():
        if line.startswith("- "):
            sentence = line[2:]
        elif line.startswith("  "):
            old, arrow, new = line.partition(" =>")
            assert arrow, line
            yield file, sentence, old.strip(), new.strip()
        elif line and not line.startswith("#"):
            file = line


def planted(text, old, new):
    """Returns the text with `old`, which must occur once, replaced; white space may differ."""
    tokens = (rf"\b{token}\b" if token[0].isalnum() else re.escape(token)
              for token in re.findall(r"\w+|\S", old))
    places = list(re.finditer(r"\s*".join(tokens), text))
    if len(places) != 1:
        return None
    return text[:places[0].start()] + new + text[places[0].end():]


def run(*command):
    with open("log", "w") as log:
        return subprocess.run(command, stdout=log, stderr=log).returncode == 0


def fate():
    if not run("cmake", "--build", "build", "--target", *TARGETS.split()):
        return "does not build"
    for tests in ("-E", "mistakes|postgresql|drivers"), ("-R", "postgresql"):  # the long test last
        if not run("ctest", "--test-dir", "build", *tests, "-j", str(os.cpu_count()),
                   "--stop-on-failure", "--timeout", "180"):
            log = pathlib.Path("log").read_text()
            return "is noticed by " + re.search(r"^\s*\d+ - (.*)", log, re.MULTILINE)[1]
    return "survives"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--apply", action="store_true", help="only check that each can be planted")
    parser.add_argument("pattern", nargs="?", default="", help="only mistakes whose file or sentence matches")
    options = parser.parse_args()
    tree = LIST.parent.parent
    with tempfile.TemporaryDirectory() as copy:
        if not options.apply:
            tree = pathlib.Path(copy, "tree")
            shutil.copytree(LIST.parent.parent, tree, ignore=shutil.ignore_patterns("build", ".git"))
            os.chdir(tree)
            run("cmake", "-G", "Ninja", "-B", "build", "-DCMAKE_BUILD_TYPE=Release",
                "-DCMAKE_CXX_FLAGS_RELEASE=-O1",
                f"-DVXFNC_DUCKDB={LIST.parent.parent}/build/npm/duckdb")
            if fate() != "survives":
                sys.exit(pathlib.Path("log").read_text())
        tried = bad = 0
        for file, sentence, old, new in mistakes():
            if not re.search(options.pattern, f"{file}: {sentence}"):
                continue
            text = (tree / file).read_text()
            wrong = planted(text, old, new)
            if wrong is None:
                result = "does not occur exactly once"
            elif options.apply:
                result = "applies"
            else:
                (tree / file).write_text(wrong)
                result = fate()
                (tree / file).write_text(text)
            is_good = result.startswith(("applies", "is noticed"))
            if not options.apply or not is_good:
                print(f"{file}: {sentence} {result}", flush=True)
            tried += 1
            bad += not is_good
    print(f"{tried} mistakes, {bad} unnoticed or broken")
    sys.exit(bad > 0 or tried == 0)


main()
