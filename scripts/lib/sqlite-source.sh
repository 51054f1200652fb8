#!/usr/bin/env bash
# Puts SQLite's source, one C file and its header, into a folder: Debian has no SQLite for Windows programs. The source comes inside
# an npm package; the check sums make sure that it is the one this build was tested with.
#   sqlite-source.sh FOLDER
set -euo pipefail
folder=${1:?sqlite-source.sh FOLDER}
package=better-sqlite3@11.10.0
mkdir -p "$(dirname "$folder")"
work=$(mktemp -d "$(dirname "$folder")/sqlite.XXXXXX")
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack "$package" --silent --ignore-scripts >/dev/null 2>&1) ||
  { echo "sqlite-source.sh : npm ne donne pas $package" >&2; exit 1; }
tar -xzf "$work"/*.tgz -C "$work" --strip-components=3 package/deps/sqlite3/sqlite3.c package/deps/sqlite3/sqlite3.h
cd "$work"
sha256sum --check --quiet <<'SUMS'
e80215754ac6cfaefe272342efd581b6dbefdbdc21f96bd83fcb698bee9d36a5  sqlite3.c
2198c66d4c59ae86421590c27fd53309ec14a595ae31c0c7143247444018a0bd  sqlite3.h
SUMS
mkdir -p "$folder"
mv -f sqlite3.h sqlite3.c "$folder/"
