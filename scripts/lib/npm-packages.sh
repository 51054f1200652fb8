#!/usr/bin/env bash
# Installs the Node packages that the tests use, each set into a folder of its own under build/npm. Safe to run again.
set -euo pipefail
cd "$(dirname "$0")/../.."
for manifest in tests/*/package.json tests/*/*/package.json; do
  [ -e "$manifest" ] || continue
  source=$(dirname "$manifest")
  target=build/npm/$(basename "$source")
  mkdir -p "$target"
  if ! cmp -s "$source/package-lock.json" "$target/package-lock.json" || [ ! -d "$target/node_modules" ]; then
    rm -rf "$target/node_modules"
    cp "$source/package.json" "$source/package-lock.json" "$target/"
    npm ci --prefix "$target" --no-audit --no-fund --loglevel=error
  fi
done
