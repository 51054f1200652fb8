#!/usr/bin/env bash
# shared-library.sh BUILD SOURCE COMPILER MAJOR: builds the library alone, as shared libraries, and uses it as installed-library.sh does.
set -euo pipefail
build=$1 source=$2 compiler=$3 major=$4
cmake -G Ninja -S "$source" -B "$build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug -DBUILD_SHARED_LIBS=ON -DTAMLO_UI=OFF -DTAMLO_TESTS=OFF \
  >"$build.log" 2>&1 || { cat "$build.log" >&2; exit 1; }
cmake --build "$build" >"$build.log" 2>&1 || { tail -50 "$build.log" >&2; exit 1; }
# Every library says which version of it its users need, and names all that it needs itself.
for library in "$build"/*/lib*.so "$build"/*/*/lib*.so; do
  [ -e "$library" ] || continue
  soname=$(readelf -d "$library" | sed -n 's/.*soname: \[\(.*\)\].*/\1/p')
  [ "$soname" = "$(basename "$library").$major" ] || { echo "$library has the soname $soname" >&2; exit 1; }
  missing=$(ldd -r "$library" 2>&1 | grep -E 'undefined symbol|not found' || true)
  [ -z "$missing" ] || { echo "$library: $missing" >&2; exit 1; }
done
"$(dirname "$0")/installed-library.sh" "$build" "$source" "$compiler"
