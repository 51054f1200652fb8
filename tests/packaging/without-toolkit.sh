#!/usr/bin/env bash
# without-toolkit.sh SOURCE COMPILER: what is built where the toolkit is not there, by itself or because it is not wanted; and that who asks for the
# tool all the same is told.
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

configure() {
  local name=$1
  shift
  cmake -G Ninja -S "$source" -B "$work/$name" -DCMAKE_CXX_COMPILER="$compiler" -DTAMLO_TESTS=OFF "$@" >"$work/$name.log" 2>&1
}
expect_library_alone() {
  local targets
  targets=$(ninja -C "$work/$1" -t targets all)
  grep -q 'libtamlo_fournisseurs' <<<"$targets" || { echo "$1: no library" >&2; exit 1; }
  ! grep -qE '^(app/tamlo|tamlo_ui_qt|tamlo):' <<<"$targets" || { echo "$1: the tool is built" >&2; exit 1; }
  grep -q 'the library alone is built' "$work/$1.log" || { echo "$1: nothing tells that the tool is left out" >&2; exit 1; }
}

configure absent -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON || { cat "$work/absent.log" >&2; exit 1; }
expect_library_alone absent
configure unwanted -DTAMLO_UI=OFF || { cat "$work/unwanted.log" >&2; exit 1; }
expect_library_alone unwanted
configure there || { cat "$work/there.log" >&2; exit 1; }
targets=$(ninja -C "$work/there" -t targets all)
grep -q '^app/tamlo:' <<<"$targets" || { echo "there: no tool" >&2; exit 1; }
if configure demanded -DTAMLO_UI=ON -DQt6_DIR="$work" -DCMAKE_FIND_ROOT_PATH="$work" -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY; then
  echo "demanded: no error" >&2
  exit 1
fi
grep -q Qt6 "$work/demanded.log" || { cat "$work/demanded.log" >&2; exit 1; }
echo "without the toolkit the library alone is built"
