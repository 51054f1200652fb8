#!/usr/bin/env bash
# tamlo-db as a Windows program: under Wine it writes byte for byte what this system's writes, in folders and files whose names have accents.
#   command.sh TAMLO-DB TAMLO-DB.EXE WINE-SCRIPT PREFIX
set -euo pipefail
command=$(realpath "$1") program=$(realpath "$2") wine=$3 prefix=$4
[ -n "${JET_SAMPLES:-}" ] || { echo "skipped: JET_SAMPLES names no folder of sample files"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C.UTF-8
failures=0
fail() { echo "$*" >&2; failures=$((failures + 1)); }

# The same files on both sides, each in a folder of its own.
for side in here windows; do
  folder="$work/$side/Données d'été"
  mkdir -p "$folder" "$work/$side.said"
  cp "$JET_SAMPLES/V1997/test2V1997.mdb" "$folder/Clientèle 97.mdb"
  cp "$JET_SAMPLES/V2000/test2V2000.mdb" "$folder/Œuvres.mdb"
  cp "$JET_SAMPLES/V2003/testIndexPropertiesV2003.mdb" "$folder/индекс.mdb"
  cp "$JET_SAMPLES/V2003/testUnicodeCompV2003.mdb" "$folder/unicode.mdb"
  cp "$JET_SAMPLES/other/V2003_with-password.mdb" "$folder/fermée.mdb"
  chmod u+w "$folder"/*
  echo "Ceci n'est pas une base." >"$folder/texte.mdb"
  printf 'SELECT Nom, Prix FROM [Détail été] WHERE Nom Like %s ORDER BY Prix DESC' "'É*'" >"$folder/requête.sql"
done

# both STATUS WORD...: runs the command with these words on both sides, which have to end with that status and say the same.
count=0
both() {
  local wanted=$1 ours=0 theirs=0 name
  shift
  count=$((count + 1))
  name=$(printf '%02d' $count)
  (cd "$work/here/Données d'été" && "$command" "$@" </dev/null >"$work/here.said/$name.out" 2>"$work/here.said/$name.err") || ours=$?
  (cd "$work/windows/Données d'été" && "$wine" here "$prefix" "$program" "$@" </dev/null >"$work/windows.said/$name.out" 2>"$work/windows.said/$name.err") ||
    theirs=$?
  [ $ours = "$wanted" ] && [ $theirs = "$wanted" ] || fail "$*: status $ours here and $theirs there instead of $wanted: $(cat "$work"/*.said/$name.err)"
  for kind in out err; do
    cmp "$work/here.said/$name.$kind" "$work/windows.said/$name.$kind" || fail "$*: other texts: $(diff "$work"/{here,windows}.said/$name.$kind | head -n 6)"
  done
  [ -s "$work/here.said/$name.$([ "$wanted" = 0 ] && echo out || echo err)" ] || [ "${silent:-}" ] || fail "$*: says nothing"
}

"$wine" prepare "$prefix" || exit $?
both 0 --version
both 0 info 'Clientèle 97.mdb'
both 0 tables Œuvres.mdb -F json
both 0 relations индекс.mdb -F csv
both 0 schema индекс.mdb --to mariadb
both 0 schema 'Clientèle 97.mdb' --to postgresql
# Patterns are the command's, not the file system's; a word with "/" in front is no option.
both 0 export unicode.mdb -t '*' -F jsonl
both 0 export Œuvres.mdb --all -F json --binary base64
both 0 export 'Clientèle 97.mdb' --all -F sql
silent=yes both 0 export Œuvres.mdb --all -F csv -o 'Été 2026/Œ'
silent=yes both 0 export 'Clientèle 97.mdb' --all -F tsv -o 97
silent=yes both 0 export индекс.mdb --all -F table -o .
silent=yes both 0 backup Œuvres.mdb 'Copié le 1er août.mdb'
silent=yes both 0 compact 'Copié le 1er août.mdb' Ωμέγα.mdb
both 0 exec unicode.mdb 'CREATE TABLE [Détail été] (Nom TEXT(20), Prix CURRENCY)' "INSERT INTO [Détail été] VALUES ('Élodie, \"dite 𝄞\"', 12.5)" \
  "INSERT INTO [Détail été] VALUES ('Étienne\\', -0.0001)"
both 0 query unicode.mdb -f requête.sql -F csv
both 0 check unicode.mdb
both 2 export Œuvres.mdb -t /absente
both 2 query Œuvres.mdb
both 3 info "il n'y en a pas.mdb"
both 3 tables texte.mdb
both 3 tables fermée.mdb
both 4 query Œuvres.mdb 'SELECT Truc FROM Machin'
both 4 backup Œuvres.mdb Ωμέγα.mdb

# What was written: Windows' side, as this system reads it.
[ "$(cat "$work/windows.said/16.out")" = $'Nom,Prix\n"Élodie, ""dite 𝄞""",12.5000\nÉtienne\\,-0.0001' ] || fail "other rows: $(cat "$work/windows.said/16.out")"
# The moment when a table was made stands in its file.
diff -rq -x unicode.mdb "$work/here" "$work/windows" || fail "the files written are not the same"
for side in here windows; do
  (cd "$work/$side/Données d'été" && "$command" check unicode.mdb && "$command" export unicode.mdb --all -F jsonl) >"$work/$side.rows" || fail "$side: not sound"
done
cmp "$work/here.rows" "$work/windows.rows" || fail "other rows were written"
(cd "$work/windows/Données d'été" && ls 'Été 2026/Œ'/*.csv 97/*.tsv ./*.txt Ωμέγα.mdb >/dev/null) || fail "files are missing"

# The language is the user's of Windows where no variable names one: the command processor takes them away.
if localedef -i fr_FR -f UTF-8 --no-archive "$work/fr_FR.UTF-8" 2>/dev/null || [ -d "$work/fr_FR.UTF-8" ]; then
  LOCPATH=$work TAMLO_WINE_LOCALE=fr_FR.UTF-8 "$wine" here "$prefix" cmd /c "set LC_ALL=& set LC_MESSAGES=& set LANG=& Z:${program//\//\\} --help" \
    >"$work/help" </dev/null
  grep -q 'Affiche cette aide' "$work/help" || fail "a French Windows is not spoken to in French: $(head -n 3 "$work/help")"
else
  fail "no French locale can be made (package locales)"
fi
echo "$count lines on both sides"
[ $failures = 0 ]
