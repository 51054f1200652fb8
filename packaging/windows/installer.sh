#!/usr/bin/env bash
# Makes the Windows installer of a built tree of the 64-bit edition (packages wixl and msitools).
#   installer.sh BUILD FILE.msi
set -euo pipefail
build=$1 file=$(realpath "$2")
here=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for component in tool command; do
  cmake --install "$build" --prefix "$work" --component "$component" >"$work/log" || { cat "$work/log" >&2; exit 1; }
done
cp "$here/../../app/win32/tamlo.ico" "$build/packaging/tamlo.wxs" "$work"
cd "$work"
wixl -a x64 -o made.msi tamlo.wxs
# What wixl has no words for: accents that are UTF-8, and the folder behind those where programs are looked for ("=-*": set when installed, gone
# when removed, for the whole machine).
printf '\n\n65001\t_ForceCodepage\n' >_ForceCodepage.idt
printf 'Environment\tName\tValue\tComponent_\ns72\tl255\tL255\ts72\nEnvironment\tEnvironment\nPath\t=-*PATH\t[~];[INSTALLDIR]\tCommand\n' >Environment.idt
msibuild made.msi -i _ForceCodepage.idt
msibuild made.msi -i Environment.idt
msibuild made.msi -q "INSERT INTO InstallExecuteSequence (Action, Sequence) VALUES ('RemoveEnvironmentStrings', 3300)" \
  -q "INSERT INTO InstallExecuteSequence (Action, Sequence) VALUES ('WriteEnvironmentStrings', 5200)"
mv -f made.msi "$file"
