#!/usr/bin/env python3
"""Writes module/text/case_tables.inc from the Unicode character database.

usage: make_case_tables.py [FOLDER OF UnicodeData.txt AND ReadMe.txt] > case_tables.inc
Debian's package unicode-data has the folder, /usr/share/unicode.
"""
import re
import sys

PAGE, PAGES, AUXILIARY = 128, 512, -128
UNCHANGED_BY_UPPER = {0x131}  # the dotless i is not converted, so that it never reads as an I

folder = sys.argv[1] if len(sys.argv) > 1 else "/usr/share/unicode"
with open(f"{folder}/ReadMe.txt", encoding="utf-8") as readme:
    version = re.search(r"Version (\d+\.\d+\.\d+)", readme.read()).group(1)

upper, lower = {}, {}
with open(f"{folder}/UnicodeData.txt", encoding="ascii") as database:
    for line in database:
        fields = line.split(";")
        code = int(fields[0], 16)
        if code < PAGE * PAGES:
            if fields[12] and code not in UNCHANGED_BY_UPPER:
                upper[code] = int(fields[12], 16)
            if fields[13]:
                lower[code] = int(fields[13], 16)


def shifts(mapping, page, auxiliary):
    """Returns the deltas of a page. Mappings that do not fit into a signed 8-bit delta go to the list."""
    row = []
    for code in range(page * PAGE, (page + 1) * PAGE):
        delta = mapping.get(code, code) - code
        if not -128 < delta < 128:
            auxiliary.append((code, mapping[code]))
            delta = AUXILIARY
        row.append(delta)
    return tuple(row)


def table(declaration, entries, per_line):
    print(f"{declaration} = {{")
    for start in range(0, len(entries), per_line):
        print("    " + ", ".join(entries[start:start + per_line]) + ",")
    print("};\n")


rows, meta, up_aux, down_aux = [], [], [], []
for page in range(PAGES):
    row = shifts(upper, page, up_aux), shifts(lower, page, down_aux)
    if not any(row[0]) and not any(row[1]):
        meta.append(-1)
        continue
    if row not in rows:
        rows.append(row)
    meta.append(rows.index(row) * PAGE)

print(f"// Simple case mappings of the Unicode character database, version {version}.")
print("// Written by tools/make_case_tables.py; do not edit.\n")
table(f"constexpr std::int16_t nbz_metatable[{PAGES}]", [str(m) for m in meta], 16)
for name, side in (("nbz_upshift", 0), ("nbz_downshift", 1)):
    table(f"constexpr std::int8_t {name}[{len(rows) * PAGE}]",
          [str(delta) for row in rows for delta in row[side]], 16)
for name, pairs in (("nbz_upaux", up_aux), ("nbz_downaux", down_aux)):
    table(f"constexpr CasePair {name}[{len(pairs) + 1}]",
          [f"{{0x{a:04X}, 0x{b:04X}}}" for a, b in pairs] + ["{0, 0}"], 4)
