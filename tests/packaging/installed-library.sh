#!/usr/bin/env bash
# installed-library.sh BUILD SOURCE COMPILER: installs the library part of a build into a folder of its own and uses it as somebody else would.
# Every header is compiled alone; examples/consumer is built by the CMake package; the examples of the documents are built by the pkg-config file. All
# programs run twice in a row: the second run meets what the first left behind.
set -euo pipefail
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

sanitize=$(sed -n 's/^TAMLO_SANITIZE:STRING=//p' "$build/CMakeCache.txt")
flags=${sanitize:+-fsanitize=$sanitize}

# quietly LOG COMMAND...: the output only where the command fails.
quietly() {
  local log=$work/$1.log
  shift
  "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}
expect() {
  [ "$1" = "$2" ] || { echo "« $1 » was printed where « $2 » was expected" >&2; exit 1; }
}

for component in dev lib; do
  quietly "install-$component" cmake --install "$build" --prefix "$prefix" --component $component
done
if grep -rlF "$source" "$prefix" --include='*.cmake' --include='*.pc' --include='*.h'; then
  echo "the installed files above name the source folder" >&2
  exit 1
fi

# Each header alone, and all that it includes is there too.
headers=0
while read -r header; do
  printf '#include "%s"\n' "$header" >"$work/header.cpp"
  "$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include/tamlo" "$work/header.cpp" ||
    { echo "$header does not compile alone" >&2; exit 1; }
  headers=$((headers + 1))
done < <(cd "$prefix/include/tamlo" && find . -name '*.h' -printf '%P\n' | sort)
[ "$headers" -gt 30 ] || { echo "only $headers headers are installed" >&2; exit 1; }

quietly configure cmake -S "$source/examples/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="$flags"
quietly build cmake --build "$work/consumer"
for _ in first second; do
  expect "$("$work/consumer/consumer" "$work/base.db")" "2 lignes, 0 difference"
done

# The examples of the documents, as pkg-config says.
libdir=$(dirname "$(dirname "$(find "$prefix" -name tamlo.pc)")")
read -ra compile <<<"$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs tamlo)"
for example in "$source"/examples/readme/*.cpp; do
  name=$(basename "$example" .cpp)
  "$compiler" -std=c++20 $flags "$example" "${compile[@]}" "-Wl,-rpath,$libdir" -o "$work/$name"
  mkdir "$work/$name.d"
  expect "$(cd "$work/$name.d" && "../$name" && "../$name")" "$(cat "${example%.cpp}.out")"
done

# What stands in a document is what was built here: each piece of C++ in it is one of the examples, letter for letter.
python3 - "$source" <<'CHECK'
import pathlib, re, sys
source = pathlib.Path(sys.argv[1])
examples = {file.read_text(): file.name for file in (source / "examples/readme").glob("*.cpp")}
shown = set()
documents = [*source.glob("*.md"), *source.glob("*/README.md"), *source.glob("docs/**/*.md")]
for document in documents:
    for code in re.findall(r"^```(?:cpp|c\+\+)\n(.*?)^```$", document.read_text(), re.S | re.M):
        if code not in examples:
            sys.exit(f"{document.relative_to(source)} shows C++ that is none of examples/readme:\n{code}")
        shown.add(code)
hidden = [name for code, name in examples.items() if code not in shown]
if hidden:
    sys.exit(f"no document shows {', '.join(hidden)}")
CHECK
echo "the installed library serves all programs; $headers headers compile alone"
