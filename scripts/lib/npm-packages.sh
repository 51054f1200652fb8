#!/usr/bin/env bash
# Installs the Node packages that the tests use, each set into a folder of its own under build/npm. Safe to run again, also after it was
# interrupted: a set counts as installed when its lock file lies beside it as "installed.json".
set -euo pipefail
cd "$(dirname "$0")/../.."

install_set() {
  local source=$1 target=$2
  mkdir -p "$target"
  rm -rf "$target/node_modules" "$target/installed.json"
  cp "$source/package.json" "$source/package-lock.json" "$target/"
  npm ci --prefix "$target" --no-audit --no-fund --loglevel=error &
  wait $!
  cp "$source/package-lock.json" "$target/installed.json"
}

# Whoever ends this script ends what it waits for.
trap 'kill $(jobs -p) 2>/dev/null || true; exit 1' TERM INT
for manifest in tests/*/package.json tests/*/*/package.json; do
  [ -e "$manifest" ] || continue
  source=$(dirname "$manifest")
  target=build/npm/$(basename "$source")
  cmp -s "$source/package-lock.json" "$target/installed.json" || install_set "$source" "$target"
done
