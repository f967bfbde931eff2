#!/usr/bin/env bash
# Checks the types of the package with mypy, builds a wheel of it without a network, installs the wheel
# in an empty folder, and imports it there.
# usage: package.sh PYTHON, with the variables of the other tests
set -euo pipefail
tests=$(cd "$(dirname "$0")" && pwd)
python=$1
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

MYPYPATH=$PYTHONPATH "$python" -m mypy --strict --no-incremental --cache-dir=/dev/null "$tests/typed_calls.py" \
  "$PYTHONPATH/vxfnc/_functions.pyi"

# VXFNC_BUILD says that the package is built already.
"$python" -m build --wheel --no-isolation --outdir "$folder" "$tests/../.." >"$folder/log" 2>&1 ||
  { cat "$folder/log"; exit 1; }
"$python" -m zipfile -e "$folder"/vxfnc-*-cp311-abi3-linux_x86_64.whl "$folder/installed"
cd "$folder"
PYTHONPATH=$folder/installed "$python" -c '
import vxfnc
assert vxfnc.__file__.startswith("'"$folder"'")
assert vxfnc.sln(10000, 1000, 5) == 1800.0'
