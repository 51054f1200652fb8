#!/usr/bin/env bash
# installed-library.sh BUILD SOURCE COMPILER: installs the library part of a build into a folder of its own, builds examples/consumer against
# it by its CMake package and examples/dix_lignes.cpp by its pkg-config file, and runs both.
set -euo pipefail
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sanitize=$(sed -n 's/^TAMLO_SANITIZE:STRING=//p' "$build/CMakeCache.txt")
flags=${sanitize:+-fsanitize=$sanitize}

cmake --install "$build" --prefix "$work/prefix" --component dev >"$work/install.log" || { cat "$work/install.log"; exit 1; }
if grep -rlF "$source" "$work/prefix" --include='*.cmake' --include='*.pc' --include='*.h'; then
  echo "the installed files above name the source folder" >&2
  exit 1
fi

cmake -S "$source/examples/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="$flags" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer" >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
expect() {
  [ "$1" = "$2" ] || { echo "« $1 » was printed where « $2 » was expected" >&2; exit 1; }
}
expect "$("$work/consumer/consumer" "$work/base.db")" "2 lignes, 0 difference"

libdir=$(dirname "$(find "$work/prefix" -name tamlo.pc)")
read -ra compile <<<"$(PKG_CONFIG_PATH=$libdir pkg-config --define-variable=prefix="$work/prefix" --cflags --libs tamlo)"
"$compiler" -std=c++20 $flags "$source/examples/dix_lignes.cpp" "${compile[@]}" -o "$work/dix_lignes"
expect "$(cd "$work" && ./dix_lignes)" "L'Hermite"

# The example stands in the README as it was built here.
if ! diff <(sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '1d;$d') "$source/examples/dix_lignes.cpp"; then
  echo "the example of README.md is not examples/dix_lignes.cpp" >&2
  exit 1
fi
echo "the installed library serves both programs"
