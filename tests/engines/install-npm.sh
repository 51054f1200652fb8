#!/usr/bin/env bash
# Installs the grammar checker's packages into build/npm/grammar, in the versions of grammar/package-lock.json. Does nothing when they are there.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd -P)
target=$here/../../build/npm/grammar
mkdir -p "$target"
if [ -d "$target/node_modules/antlr4ts-sql" ] && cmp -s "$here/grammar/package-lock.json" "$target/package-lock.json"; then
  exit 0
fi
# The lock file is copied last: its presence says that the installation went through.
rm -f "$target/package-lock.json"
staging=$(mktemp -d "$target/../grammar.XXXXXX")
trap 'rm -rf "$staging"' EXIT
cp "$here/grammar/package.json" "$here/grammar/package-lock.json" "$staging/"
npm ci --prefix "$staging" --ignore-scripts --no-audit --no-fund --silent
rm -rf "$target/node_modules"
mv "$staging/node_modules" "$target/"
cp "$here/grammar/package.json" "$target/"
cp "$here/grammar/package-lock.json" "$target/"
