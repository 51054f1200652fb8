#!/usr/bin/env bash
# Runs a Windows program under Wine without a screen, in a prefix of its own, from the prefix's drive C.
#   wine.sh prepare PREFIX               makes the prefix (about ten seconds) where it is missing
#   wine.sh run PREFIX PROGRAM [...]     runs a program; its report goes where GTEST_OUTPUT says, under a name that tells Windows
#   wine.sh become PREFIX PROGRAM [...]  the same, and the program takes this script's process: killing that one kills the program
#   wine.sh here PREFIX PROGRAM [...]    the same from the current folder; the program may be one of Windows' own
#   wine.sh tool PREFIX PROGRAM [...]    the same with data sources of its own: SQLite and a private MariaDB server
#   wine.sh stop PREFIX                  ends what still runs in the prefix
# Status 77 and a reason where Wine is not installed.
set -euo pipefail
action=$1 prefix=$2
shift 2
command -v wine >/dev/null || { echo "skipped: Wine is not installed (package wine64, see scripts/setup)"; exit 77; }
unset DISPLAY WAYLAND_DISPLAY
# Accents of file names and of the command line go through the locale's characters. TAMLO_WINE_LOCALE names another user's, of UTF-8 too.
export LC_ALL=${TAMLO_WINE_LOCALE:-C.UTF-8}
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="

prepare() {
  if [ ! -e "$prefix/ready" ]; then
    mkdir -p "$prefix"
    wine wineboot -i >/dev/null 2>&1
    # No display is needed for windows that nobody looks at.
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
    wineserver -w
    touch "$prefix/ready"
  fi
}

run() {
  local program
  program=$(realpath "$1")
  shift
  case "${GTEST_OUTPUT:-}" in
    xml:*/) export GTEST_OUTPUT="${GTEST_OUTPUT}windows_$(basename "$program" .exe).xml" ;;
  esac
  cd "$prefix/drive_c"
  wine "$program" "$@"
}

case "$action" in
  prepare) prepare ;;
  run) run "$@" ;;
  here) wine "$@" ;;
  become)
    program=$(realpath "$1")
    shift
    cd "$prefix/drive_c"
    exec wine "$program" "$@" ;;
  tool)
    work=$(mktemp -d)
    here=$(dirname "$(realpath "$0")")
    cleanup() {
      "$here/mariadb.sh" stop "$work/server" || true
      rm -rf "$work"
    }
    trap cleanup EXIT
    export ODBCINI=$work/odbc.ini
    printf '[VOLUMES]\nDriver=%s\nDatabase=%s\n' SQLite3 "$work/volumes.sqlite" >"$ODBCINI"
    export TAMLO_TEST_SQLITE="VOLUMES 4"
    if "$here/mariadb.sh" start "$work/server"; then
      printf '[VOLMARIA]\nDriver=%s\nSOCKET=%s\nDATABASE=tamlo\nUID=tamlo\nPWD=tamlo\n' 'MariaDB Unicode' \
        "$work/server/s" >>"$ODBCINI"
      export TAMLO_TEST_MARIADB="VOLMARIA 3"
    fi
    run "$@" ;;
  stop)
    wineserver -k || true
    wineserver -w ;;
esac
