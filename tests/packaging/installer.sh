#!/usr/bin/env bash
# Makes the installer of a Windows build, reads it with other programs than the one that made it, installs it under Wine and takes it away again.
#   installer.sh BUILD WINE-SCRIPT PREFIX
set -euo pipefail
build=$1 wine=$2 prefix=$3
source=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }
for tool in wixl msibuild msiinfo msiextract; do command -v $tool >/dev/null || fail "$tool is missing (see scripts/setup)"; done

installer=$work/tamlo.msi
"$source/packaging/windows/installer.sh" "$build" "$installer"
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")/\1/p' "$build/CPackConfig.cmake")

# What it says of itself.
msiinfo suminfo "$installer" | grep -q '^Template: x64;' || fail "the installer is not for 64 bits"
msiinfo export "$installer" Property | tr -d '\r' >"$work/properties"
grep -qxF "ProductVersion	$version" "$work/properties" || fail "the version is not $version: $(cat "$work/properties")"
grep -qxF 'UpgradeCode	{CF4A83CD-0BB2-4F37-82A8-406546287D30}' "$work/properties" || fail "a later version would not find this one"
msiinfo export "$installer" LaunchCondition | grep -q 'Une version plus récente' || fail "the accents are lost"
# Windows goes through the actions by their numbers.
order() { msiinfo export "$installer" InstallExecuteSequence | tr -d '\r' | sed -n "s/^$1\t.*\t//p"; }
[ "$(order InstallFiles)" -lt "$(order WriteEnvironmentStrings)" ] && [ "$(order WriteEnvironmentStrings)" -lt "$(order InstallFinalize)" ] ||
  fail "PATH is not written between the files and the end"
[ "$(order RemoveExistingProducts)" -lt "$(order InstallInitialize)" ] || fail "an older version is not taken away first"

# Its files are those of the build, and no others.
msiextract -C "$work/files" "$installer" >/dev/null
list=$(cd "$work/files" && find . -type f | sort | tr '\n' ' ')
folder=$(cd "$work/files" && find . -name tamlo.exe -printf '%h')
[ "$list" = "$folder/LICENCE.txt $folder/LISEZMOI.txt $folder/tamlo-db.exe $folder/tamlo.exe " ] || fail "other files: $list"
cmp "$source/LICENSE" "$work/files/$folder/LICENCE.txt"
cmp "$source/packaging/LISEZMOI.txt" "$work/files/$folder/LISEZMOI.txt"
for program in app/tamlo.exe cli/tamlo-db.exe; do cmp "$build/$program" "$work/files/$folder/$(basename $program)"; done
echo "$(stat -c %s "$installer") bytes"

# Installed, used, taken away.
"$wine" prepare "$prefix" || exit $?
cd "$work"
installed="$prefix/drive_c/Program Files/tamlo"
environment='HKLM\System\CurrentControlSet\Control\Session Manager\Environment'
path() { "$wine" here "$prefix" reg query "$environment" /v PATH | tr -d '\r' | sed -n 's/.*REG_EXPAND_SZ *//p'; }
before=$(path)
# Wine leaves the separator behind, and its command processor finds nothing behind two of them.
leave() {
  "$wine" here "$prefix" msiexec /x tamlo.msi /qn >/dev/null 2>&1 || true
  "$wine" here "$prefix" reg add "$environment" /v PATH /t REG_EXPAND_SZ /d "$before" /f >/dev/null || true
  rm -rf "$work"
}
trap leave EXIT
"$wine" here "$prefix" msiexec /i tamlo.msi /qn || fail "it does not install: $?"
[ "$(ls "$installed" | sort | tr '\n' ' ')" = "LICENCE.txt LISEZMOI.txt tamlo-db.exe tamlo.exe " ] || fail "not all is installed: $(ls "$installed")"
grep -q 'Program Files\\tamlo' <<<"$(path)" || fail "the folder is not where programs are looked for"
# By its name alone, as in a new window.
[ "$("$wine" here "$prefix" cmd /c 'tamlo-db --version' | tr -d '\r')" = "tamlo-db $version" ] || fail "the installed program does not run by its name"
"$wine" here "$prefix" msiexec /x tamlo.msi /qn || fail "it does not go away: $?"
[ ! -e "$installed" ] || fail "something is left: $(ls "$installed")"
if grep -q 'Program Files\\tamlo' <<<"$(path)"; then fail "PATH still names it"; fi
