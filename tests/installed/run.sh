#!/usr/bin/env bash
# Installs into a folder, moves the folder and uses the installed files: in a C program through
# pkg-config, in a C++17 program through CMake, in scripts through ctypes and the Python package, and as
# the command. Then
# checks the exported symbols.
# usage: run.sh BUILD-FOLDER
set -euo pipefail
build=$(cd "$1" && pwd)
cd "$(dirname "$0")"
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cmake --install "$build" --prefix "$tree/first" >"$tree/log"
mv "$tree/first" "$tree/moved"
prefix=$tree/moved
libraries=$(dirname "$(find "$prefix" -name 'libvxkernel.so.0')")
export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries

# shellcheck disable=SC2046
gcc -std=c99 -Wall -Wextra -pedantic -Werror embed.c -o "$tree/embed" $(pkg-config --cflags --libs vxkernel) -lm
"$tree/embed"
cmake -G Ninja -S . -B "$tree/build" -DCMAKE_PREFIX_PATH="$prefix" >>"$tree/log"
cmake --build "$tree/build" >>"$tree/log"
"$tree/build/embed_shared"
# A program that contains the kernel finds the module in its own folder or in the library folder.
mkdir -p "$prefix/bin" && cp "$tree/build/embed_static" "$prefix/bin/embed"
"$prefix/bin/embed"
python3 embed.py "$libraries/libvxkernel.so.0"
[ "$("$prefix/bin/finance" SLN 35000 5000 5)" = 6000 ] && echo "command: passed"
for packages in "$prefix"/lib/python3*/*-packages; do
  [ -d "$packages" ] || continue
  PYTHONPATH=$packages /usr/bin/python3 -c 'import vxfnc; assert vxfnc.sln(35000, 5000, 5) == 6000'
  echo "python: passed"
done
nm -D --defined-only "$libraries/libvxkernel.so.0" | awk '$2 ~ /[A-Z]/ && $3 !~ /^_/ {print $3}' | sort |
  diff ../../kernel/vxkernel.symbols - && echo "symbols: passed"
