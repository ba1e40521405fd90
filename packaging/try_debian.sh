#!/usr/bin/env bash
# try_debian.sh <root> <folder>: builds and runs a host against the packages that are extracted in <root>, as if it were /.
set -euo pipefail
root=$1 folder=$2
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
libraries=$(dirname -- "$(find "$root/usr/lib" -name libsinew.so)")
mkdir -p "$folder"
# The program of README.md.
awk '/^```cpp$/ { inside = 1; next } /^```$/ { if (inside) exit } inside' "$here/README.md" >"$folder/main.cpp"
export PKG_CONFIG_PATH=$libraries/pkgconfig
flags=$(pkg-config --cflags --libs sinew)
c++ -std=c++17 "$folder/main.cpp" -o "$folder/host" $flags
LD_LIBRARY_PATH=$libraries "$folder/host"
LD_LIBRARY_PATH=$libraries "$root/usr/bin/sinew" selftest core.Vector3
