#!/usr/bin/env bash
# Makes the package of a built tree and checks what is in it.
#   packages.sh deb FOLDER       the .deb packages of this machine; lintian judges those of programs as a stranger
#   packages.sh library FOLDER   lintian's judgement of the library's package: minutes, for a debug build's archives hold so many names
#   packages.sh zip FOLDER       the zip of a Windows build
set -euo pipefail
kind=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
case "$kind" in
  deb)
    library=$(ls "$work"/libtamlo-dev_*.deb)
    list=$(dpkg-deb -c "$library" | awk '{print $6}')
    for file in /include/tamlo/db/DataBase.h /libtamlo_db.a /cmake/tamlo/tamloConfig.cmake /pkgconfig/tamlo.pc; do
      grep -qF "$file" <<<"$list" || { echo "$file is missing in $library:" >&2; echo "$list" >&2; exit 1; }
    done
    command=$(ls "$work"/tamlo-db_*.deb)
    list=$(dpkg-deb -c "$command" | awk '{print $6}')
    for file in ./usr/bin/tamlo-db ./usr/share/man/man1/tamlo-db.1.gz ./usr/share/man/fr/man1/tamlo-db.1.gz \
      ./usr/share/bash-completion/completions/tamlo-db ./usr/share/zsh/vendor-completions/_tamlo-db \
      ./usr/share/fish/vendor_completions.d/tamlo-db.fish ./usr/share/doc/tamlo-db/copyright; do
      grep -qxF "$file" <<<"$list" || { echo "$file is missing in $command:" >&2; echo "$list" >&2; exit 1; }
    done
    if dpkg-deb -f "$command" Depends | grep -i qt; then echo "tamlo-db needs Qt" >&2; exit 1; fi
    dpkg-deb -f "$command" Depends | grep -q libsqlite3
    package=$(ls "$work"/tamlo_*.deb)
    list=$(dpkg-deb -c "$package" | awk '{print $6}')
    wanted=(./usr/bin/tamlo ./usr/share/man/man1/tamlo.1.gz ./usr/share/man/fr/man1/tamlo.1.gz ./usr/share/applications/tamlo.desktop
      ./usr/share/icons/hicolor/128x128/apps/tamlo.png ./usr/share/doc/tamlo/copyright)
    dpkg-deb -f "$package" Depends | grep -q libqt6widgets6
    # It refuses root unless told.
    lintian --allow-root --fail-on error,warning "$package" "$command" >"$work/lintian" 2>&1 || { cat "$work/lintian" >&2; exit 1; } ;;
  library)
    lintian --allow-root --fail-on error,warning "$work"/libtamlo-dev_*.deb >"$work/lintian" 2>&1 || { cat "$work/lintian" >&2; exit 1; }
    exit 0 ;;
  zip)
    package=$(ls "$work"/tamlo-*-windows-*.zip)
    list=$(cd "$work" && cmake -E tar tf "$package")
    folder=$(basename "$package" .zip)
    if [ "$(cut -d/ -f1 <<<"$list" | sort -u)" != "$folder" ]; then
      echo "not everything in $package is in one folder $folder:" >&2
      echo "$list" >&2
      exit 1
    fi
    list=$(sed 's|^[^/]*/||' <<<"$list")
    wanted=(tamlo.exe tamlo-db.exe LISEZMOI.txt LICENCE.txt) ;;
esac
for file in "${wanted[@]}"; do
  grep -qxF "$file" <<<"$list" || { echo "$file is missing in $package:" >&2; echo "$list" >&2; exit 1; }
done
if grep -E '\.(a|h)$' <<<"$list"; then
  echo "the tool's package holds parts of the library" >&2
  exit 1
fi
echo "$(basename "$package"): $(stat -c %s "$package") bytes"
