#!/usr/bin/env bash
# Builds the packages for Debian from the last commit, without changes that are not committed.
# usage: build.sh FOLDER [SUFFIX]
# The packages are copied to FOLDER, and those with debug symbols to FOLDER/debug.
# The version of the packages is the version in CMakeLists.txt. A suffix, for example ~before, makes
# another version.
set -euo pipefail
folder=$(mkdir -p "$1" && cd "$1" && pwd)
cd "$(dirname "$0")/.."
root=$PWD
version=$(sed -n 's/^project(vxfnc VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)${2:-}-1
tree=$root/build/packages/build/vxfnc
rm -rf "${tree%/*}" "$folder"/*.deb "$folder/debug"
mkdir -p "$tree" "$folder/debug"
git archive HEAD | tar -x -C "$tree"
cd "$tree"
mv packaging/debian debian
# The time is that of the commit: the same commit makes the same packages.
cat >debian/changelog <<END
vxfnc ($version) unstable; urgency=medium

  * Build version $version. The upstream changelog lists the changes.

 -- $(sed -n 's/^Maintainer: //p' debian/control)  $(git -C "$root" log -1 --format=%cD)
END
# The build has a home folder of its own. A compiler cache, if there is one, stays where it is.
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache}
DEB_BUILD_OPTIONS=parallel=$(nproc) dpkg-buildpackage -b -us -uc >"$folder/build.log" 2>&1 ||
  { tail -n 10 "$folder/build.log"; echo "build.sh: the build failed: $folder/build.log"; exit 1; } >&2
cp ../*.deb "$folder"
mv "$folder"/*-dbgsym_*.deb "$folder/debug"
