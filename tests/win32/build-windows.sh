#!/usr/bin/env bash
# Cross-builds Windows programs with one of the presets into a folder, and checks that they need no library but the system's.
#   build-windows.sh PRESET FOLDER TARGET...
set -euo pipefail
preset=$1 folder=$2
shift 2
cd "$(dirname "$0")/../.."
cmake --preset "$preset" -B "$folder" >"$folder.log" 2>&1 || { cat "$folder.log"; exit 1; }
cmake --build "$folder" --target "$@" >>"$folder.log" 2>&1 || { grep -E 'error|undefined|FAILED' "$folder.log" | head -n 40; exit 1; }
# judge PROGRAM KIND
judge() {
  local needed
  file "$1"
  needed=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^\tDLL Name: //p' | sort -f)
  echo "needs: $(echo $needed)"
  if grep -iE 'libstdc|libgcc|winpthread|sqlite' <<<"$needed"; then
    echo "the program needs a library that Windows does not have" >&2
    exit 1
  fi
  if grep -i odbc32 <<<"$needed"; then
    echo "odbc32.dll is loaded with the program, not at the first connection" >&2
    exit 1
  fi
  x86_64-w64-mingw32-objdump -p "$1" | grep "Subsystem.*Windows $2" >/dev/null
}
judge "$folder/app/tamlo.exe" GUI
for target in "$@"; do
  if [ "$target" = tamlo-db ]; then judge "$folder/cli/tamlo-db.exe" CUI; fi
done
