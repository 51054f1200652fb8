#!/bin/bash
# A private PostgreSQL server in a folder of its own: own data, own socket, no network.
#
#   postgres.sh start FOLDER    starts it and returns once it answers
#   postgres.sh run FOLDER      the same in the foreground: the server takes this process's place
#   postgres.sh wait FOLDER     returns once it answers; fails after 60 s, with the end of its log
#   postgres.sh stop FOLDER     stops the one that was started there and waits until it is gone
#
# Socket: in FOLDER, port 5432. User: tamlo, password tamlo. Database: tamlo. Log: FOLDER/log.
# The server refuses to run as root: then it runs as the system's user postgres, to whom the folder is given.
set -euo pipefail

bin=$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -n 1)
template_of() { echo "${TAMLO_SERVER_TEMPLATES:-${TMPDIR:-/tmp}/tamlo-templates-$(id -u)}/postgres-$(basename "$(dirname "$bin")")"; }

# The death signal lets the server go with the program that started it, whatever becomes of that.
as_server() {
  if [ "$(id -u)" = 0 ]; then
    exec setpriv --reuid=postgres --regid=postgres --init-groups --pdeathsig "$death" -- "$@"
  else
    exec "$@"
  fi
}
death=keep

make_template() {
  local template="$1" fresh
  [ -d "$template" ] && return
  mkdir -p "$(dirname "$template")"
  chmod 755 "$(dirname "$template")"
  fresh=$(mktemp -d "$template.XXXXXX")
  echo tamlo >"$fresh.pw"
  [ "$(id -u)" != 0 ] || chown postgres "$fresh" "$fresh.pw"
  (as_server "$bin/initdb" -D "$fresh" -U tamlo --pwfile="$fresh.pw" -A scram-sha-256 -E UTF8 --locale=C.UTF-8 -N) >"$fresh.log" 2>&1 ||
    { cat "$fresh.log" >&2; exit 1; }
  rm -f "$fresh.log" "$fresh.pw"
  mv -T "$fresh" "$template" 2>/dev/null || rm -rf "$fresh"
}

prepare() {
  local folder="$1" template
  mkdir -p "$folder"
  chmod 755 "$folder"
  if [ ! -d "$folder/data" ]; then
    template=$(template_of)
    make_template "$template"
    cp -r --reflink=auto "$template" "$folder/data"
  fi
  : >>"$folder/log"
  if [ "$(id -u)" = 0 ]; then chown -R postgres "$folder"; fi
}

run() {
  local folder
  prepare "$1"
  folder=$(realpath "$1")
  death=${2:-INT}
  as_server "$bin/postgres" -D "$folder/data" -k "$folder" -c listen_addresses= -c logging_collector=off >>"$folder/log" 2>&1
}

wait_for() {
  local folder i
  folder=$(realpath "$1")
  for ((i = 0; i < 1800; i++)); do
    if PGPASSWORD=tamlo "$bin/psql" -h "$folder" -U tamlo -d postgres -qAtc "SELECT 1" >/dev/null 2>&1; then
      PGPASSWORD=tamlo "$bin/psql" -h "$folder" -U tamlo -d postgres -qAtc "SELECT 1 FROM pg_database WHERE datname='tamlo'" | grep -q 1 ||
        PGPASSWORD=tamlo "$bin/psql" -h "$folder" -U tamlo -d postgres -qAtc "CREATE DATABASE tamlo"
      return
    fi
    sleep 0.1
  done
  echo "the PostgreSQL server in $folder did not come up:" >&2
  tail -n 20 "$folder/log" >&2
  exit 1
}

stop() {
  local folder="$1" pid
  [ -f "$folder/data/postmaster.pid" ] || return 0
  pid=$(head -n 1 "$folder/data/postmaster.pid")
  kill -INT "$pid" 2>/dev/null || return 0
  # Where nobody collects ended processes (a container without an init), it stays in the list as a zombie.
  while [ -e "/proc/$pid" ] && ! grep -q '^State:[[:space:]]*Z' "/proc/$pid/status" 2>/dev/null; do sleep 0.1; done
}

case "${1:-}" in
  start) prepare "$2"; setsid "$0" run "$2" keep >/dev/null 2>&1 </dev/null & wait_for "$2" ;;
  run) run "$2" "${3:-INT}" ;;
  wait) wait_for "$2" ;;
  stop) stop "$2" ;;
  *) sed -n '2,11p' "$0" >&2; exit 2 ;;
esac
