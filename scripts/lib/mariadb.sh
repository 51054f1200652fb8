#!/bin/bash
# A private MariaDB server in a folder of its own: own data, own socket, no network.
#
#   mariadb.sh start FOLDER    starts it (about 2 s) and returns once it answers
#   mariadb.sh run FOLDER      the same in the foreground: the server takes this process's place
#   mariadb.sh prepare FOLDER  only makes the data in FOLDER/data
#   mariadb.sh wait FOLDER     returns once it answers; fails after 60 s, with the end of its log
#   mariadb.sh stop FOLDER     stops the one that was started there and waits until it is gone
#
# Socket: FOLDER/s. User and password: tamlo / tamlo, all rights; root has no password. Database: tamlo. Log: FOLDER/log.err.
# The freshly initialised data are kept as a template that later starts copy (TAMLO_SERVER_TEMPLATES, by default in the temporary folder).
set -euo pipefail

template_of() { echo "${TAMLO_SERVER_TEMPLATES:-${TMPDIR:-/tmp}/tamlo-templates-$(id -u)}/mariadb-$(mariadbd --version | tr -dc '0-9.' | cut -c1-12)"; }

as_root_option() { if [ "$(id -u)" = 0 ]; then echo --user=root; fi; }

make_template() {
  local template="$1" fresh
  [ -d "$template" ] && return
  mkdir -p "$(dirname "$template")"
  fresh=$(mktemp -d "$template.XXXXXX")
  mariadb-install-db --no-defaults $(as_root_option) --datadir="$fresh" --auth-root-authentication-method=normal \
    --skip-test-db --innodb-log-file-size=16M >"$fresh.log" 2>&1 || { cat "$fresh.log" >&2; exit 1; }
  rm -f "$fresh.log"
  # Somebody else may have made it meanwhile: the first one stays.
  mv -T "$fresh" "$template" 2>/dev/null || rm -rf "$fresh"
}

prepare() {
  local folder="$1" template
  mkdir -p "$folder"
  if [ ! -d "$folder/data" ]; then
    template=$(template_of)
    make_template "$template"
    cp -r --reflink=auto "$template" "$folder/data"
  fi
  cat >"$folder/init.sql" <<'SQL'
CREATE DATABASE IF NOT EXISTS tamlo CHARACTER SET utf8mb4;
CREATE USER IF NOT EXISTS tamlo@localhost IDENTIFIED BY 'tamlo';
GRANT ALL ON *.* TO tamlo@localhost WITH GRANT OPTION;
SQL
}

run() {
  local folder
  prepare "$1"
  folder=$(realpath "$1")
  # Its own, for a server that starts removes what it finds of temporary tables there, those of its neighbours too.
  mkdir -p "$folder/tmp"
  exec mariadbd --no-defaults $(as_root_option) --datadir="$folder/data" --tmpdir="$folder/tmp" --socket="$folder/s" --pid-file="$folder/pid" \
    --log-error="$folder/log" --init-file="$folder/init.sql" --skip-networking --skip-log-bin --character-set-server=utf8mb4 \
    --innodb-log-file-size=16M --innodb-buffer-pool-size=128M --innodb-fast-shutdown=1 --max-allowed-packet=256M \
    --general-log=0 --general-log-file="$folder/general.log"
}

wait_for() {
  local folder="$1" i
  for ((i = 0; i < 1800; i++)); do
    if mariadb --no-defaults --socket="$folder/s" -u tamlo -ptamlo -e "SELECT 1" tamlo >/dev/null 2>&1; then return; fi
    sleep 0.1
  done
  echo "the MariaDB server in $folder did not come up:" >&2
  tail -n 20 "$folder/log.err" >&2
  exit 1
}

stop() {
  local folder="$1" pid
  [ -f "$folder/pid" ] || return 0
  pid=$(cat "$folder/pid")
  kill "$pid" 2>/dev/null || return 0
  # Where nobody collects ended processes (a container without an init), it stays in the list as a zombie.
  while [ -e "/proc/$pid" ] && ! grep -q '^State:[[:space:]]*Z' "/proc/$pid/status" 2>/dev/null; do sleep 0.1; done
}

case "${1:-}" in
  start) prepare "$2"; setsid "$0" run "$2" >/dev/null 2>&1 </dev/null & wait_for "$2" ;;
  prepare) prepare "$2" ;;
  run) run "$2" ;;
  wait) wait_for "$2" ;;
  stop) stop "$2" ;;
  *) sed -n '2,12p' "$0" >&2; exit 2 ;;
esac
