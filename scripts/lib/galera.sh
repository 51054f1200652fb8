#!/bin/bash
# A private Galera cluster of MariaDB servers on the loopback, in a folder of its own.
#
#   galera.sh start FOLDER [N]   starts N nodes (3; the whole cluster about 15 s) and returns once all of them take statements
#   galera.sh prepare FOLDER [N] only makes the data and chooses the ports
#   galera.sh run FOLDER K       node K (from 1) in the foreground: the server takes this process's place. The first of a new cluster is 1
#   galera.sh wait FOLDER K      returns once node K takes statements; fails after 300 s, with the end of its log
#   galera.sh stop FOLDER [K]    stops the nodes (node K) that were started there and waits until they are gone
#   galera.sh proxy FOLDER       HAProxy before the nodes, in the foreground: sends a connection to the first node that answers
#
# FOLDER/ports: one line for each node (port, group port, port of incremental transfers, port of state transfers), then the proxy's port.
# FOLDER/node-K: data, log.err, pid, socket s. User and password: tamlo / tamlo, all rights, from 127.0.0.1; root has no password on the socket.
# Database: tamlo. Started by root the servers run as user mysql, to whom the folder is given: the state transfers refuse to run as root.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

provider=/usr/lib/galera/libgalera_smm.so
owner=$(id -un)
[ "$owner" != root ] || owner=mysql

# Runs a program as the servers' user; it ends when its parent does, if that is what the parent asked for.
as_owner() {
  if [ "$(id -un)" = "$owner" ]; then exec "$@"; fi
  exec setpriv --reuid="$owner" --regid="$(id -gn "$owner")" --clear-groups ${TAMLO_PDEATHSIG:+--pdeathsig "$TAMLO_PDEATHSIG"} "$@"
}

count_of() { grep -c '^node' "$1/ports"; }
port_of() { sed -n "s/^node $2 //p" "$1/ports" | cut -d' ' -f"$3"; }

in_use() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# A run of free ports below those that the system gives out by itself; a base that another cluster has chosen meanwhile is left alone.
choose_ports() {
  local folder="$1" count="$2" base port k claims="${TMPDIR:-/tmp}/tamlo-galera-ports-$(id -u)"
  mkdir -p "$claims"
  find "$claims" -mindepth 1 -mmin +60 -delete
  while :; do
    base=$((20000 + RANDOM % 380 * 32))
    mkdir "$claims/$base" 2>/dev/null || continue
    for ((port = base; port < base + 4 * count + 1; port++)); do
      if in_use "$port"; then continue 2; fi
    done
    break
  done
  for ((k = 1; k <= count; k++)); do
    port=$((base + 4 * (k - 1)))
    echo "node $k $port $((port + 1)) $((port + 2)) $((port + 3))"
  done >"$folder/ports"
  echo "proxy $((base + 4 * count))" >>"$folder/ports"
}

# The first node is set up alone; the others begin with its data and its place in the cluster's history, so that none has to fetch it all.
prepare() {
  local folder="$1" count="${2:-3}" k
  [ -f "$provider" ] || { echo "galera.sh: $provider is missing (package galera-4)" >&2; exit 1; }
  mkdir -p "$folder"
  [ ! -f "$folder/ports" ] || return 0
  choose_ports "$folder" "$count"
  "$here/mariadb.sh" prepare "$folder/node-1"
  rm -f "$folder/node-1/init.sql"
  if [ "$owner" != "$(id -un)" ]; then
    chown -R "$owner" "$folder"
    setpriv --reuid="$owner" --regid="$(id -gn "$owner")" --clear-groups test -w "$(realpath "$folder")/node-1/data" ||
      { echo "galera.sh: user $owner does not reach $folder" >&2; exit 1; }
  fi
  setsid "$0" run "$folder" 1 >/dev/null 2>&1 </dev/null &
  wait_until "$folder" 1 "root --socket=$folder/node-1/s"
  mariadb --no-defaults --socket="$folder/node-1/s" -u root -e "CREATE DATABASE tamlo CHARACTER SET utf8mb4;
    CREATE USER tamlo@localhost IDENTIFIED BY 'tamlo'; GRANT ALL ON *.* TO tamlo@localhost WITH GRANT OPTION;
    CREATE USER tamlo@'127.0.0.1' IDENTIFIED BY 'tamlo'; GRANT ALL ON *.* TO tamlo@'127.0.0.1' WITH GRANT OPTION"
  stop_node "$folder" 1
  rm -f "$folder/node-1/data"/{gvwstate.dat,galera.cache}
  for ((k = 2; k <= count; k++)); do cp -rp --reflink=auto "$folder/node-1" "$folder/node-$k"; done
}

# A node that runs already is what another one joins; the first of all begins the cluster.
anybody_there() {
  local folder="$1" k
  for ((k = 1; k <= $(count_of "$folder"); k++)); do
    if in_use "$(port_of "$folder" "$k" 2)"; then return 0; fi
  done
  return 1
}

run() {
  local folder k="$2" node others="" i
  folder=$(realpath "$1")
  node=$folder/node-$k
  for ((i = 1; i <= $(count_of "$folder"); i++)); do others+="${others:+,}127.0.0.1:$(port_of "$folder" "$i" 2)"; done
  local first=()
  anybody_there "$folder" || first=(--wsrep-new-cluster)
  rm -f "$node/pid"
  # Its own, for a server that starts removes what it finds of temporary tables there, those of its neighbours too.
  (as_owner mkdir -p "$node/tmp")
  as_owner mariadbd --no-defaults --datadir="$node/data" --tmpdir="$node/tmp" --socket="$node/s" --pid-file="$node/pid" --log-error="$node/log.err" \
    --bind-address=127.0.0.1 --port="$(port_of "$folder" "$k" 1)" --skip-name-resolve --character-set-server=utf8mb4 \
    --innodb-log-file-size=16M --innodb-buffer-pool-size=64M --innodb-flush-log-at-trx-commit=2 --max-allowed-packet=256M \
    --max-connections=300 --binlog-format=ROW --innodb-autoinc-lock-mode=2 --general-log=0 --general-log-file="$node/general.log" \
    --wsrep-on=ON --wsrep-provider="$provider" --wsrep-cluster-name="tamlo-$(port_of "$folder" 1 1)" "--wsrep-cluster-address=gcomm://$others" \
    --wsrep-node-name="node-$k" --wsrep-node-address=127.0.0.1 --wsrep-slave-threads=2 --wsrep-sst-method=rsync \
    --wsrep-sst-receive-address="127.0.0.1:$(port_of "$folder" "$k" 4)" \
    "--wsrep-provider-options=base_port=$(port_of "$folder" "$k" 2);gmcast.listen_addr=tcp://127.0.0.1:$(port_of "$folder" "$k" 2);ist.recv_addr=127.0.0.1:$(port_of "$folder" "$k" 3);gcache.size=64M" \
    "${first[@]}"
}

wait_until() {
  local folder="$1" k="$2" login="$3" i
  for ((i = 0; i < 3000; i++)); do
    # shellcheck disable=SC2086
    if mariadb --no-defaults -u $login -Ne "SHOW STATUS LIKE 'wsrep_ready'" 2>/dev/null | grep -q 'ON$'; then return; fi
    sleep 0.1
  done
  echo "node $k of the cluster in $folder did not come up:" >&2
  tail -n 20 "$folder/node-$k/log.err" >&2
  exit 1
}

wait_for() { wait_until "$1" "$2" "tamlo -ptamlo --host=127.0.0.1 --port=$(port_of "$1" "$2" 1)"; }

stop_node() {
  local folder="$1" k="$2" pid
  [ -f "$folder/node-$k/pid" ] || return 0
  pid=$(cat "$folder/node-$k/pid")
  kill "$pid" 2>/dev/null || return 0
  # Where nobody collects ended processes (a container without an init), it stays in the list as a zombie.
  while [ -e "/proc/$pid" ] && ! grep -q '^State:[[:space:]]*Z' "/proc/$pid/status" 2>/dev/null; do sleep 0.1; done
}

stop() {
  local folder="$1" k
  [ -f "$folder/ports" ] || return 0
  if [ $# -gt 1 ]; then stop_node "$folder" "$2"; return; fi
  for ((k = $(count_of "$folder"); k >= 1; k--)); do stop_node "$folder" "$k"; done
}

proxy() {
  local folder k backup=""
  folder=$(realpath "$1")
  {
    printf 'global\n  maxconn 500\ndefaults\n  mode tcp\n  timeout connect 2s\n  timeout client 600s\n  timeout server 600s\n'
    printf 'listen cluster\n  bind 127.0.0.1:%s\n  option tcp-check\n' "$(sed -n 's/^proxy //p' "$folder/ports")"
    for ((k = 1; k <= $(count_of "$folder"); k++)); do
      printf '  server node-%s 127.0.0.1:%s check inter 200 fall 1 rise 1 on-marked-down shutdown-sessions%s\n' "$k" "$(port_of "$folder" "$k" 1)" "$backup"
      backup=" backup"
    done
  } >"$folder/haproxy.cfg"
  chmod a+r "$folder/haproxy.cfg"
  as_owner haproxy -db -f "$folder/haproxy.cfg"
}

start() {
  local folder="$1" k
  prepare "$@"
  for ((k = 1; k <= $(count_of "$folder"); k++)); do
    setsid "$0" run "$folder" "$k" >/dev/null 2>&1 </dev/null &
    wait_for "$folder" "$k"
  done
}

case "${1:-}" in
  start) start "${@:2}" ;;
  prepare) prepare "${@:2}" ;;
  run) run "$2" "$3" ;;
  wait) wait_for "$2" "$3" ;;
  stop) stop "${@:2}" ;;
  proxy) proxy "$2" ;;
  *) sed -n '2,16p' "$0" >&2; exit 2 ;;
esac
