#!/usr/bin/env bash
# Plays the operator in front of the dialog: types a wrong confirmation, sees the message, corrects both boxes, presses Enter.
#
#   operator.sh DISPLAY SCREENSHOT_FOLDER TOOL_PID PASSWORD
#
# Keeps 1-dialog.png, 2-message.png and 3-corrected.png. Fails when a window does not come within 20 seconds, or the tool ends before.
set -euo pipefail
export DISPLAY=${1:?display} LC_ALL=C.UTF-8
folder=${2:?folder for screenshots}
pid=${3:?process id of the tool}
password=${4?password}

fail() { echo "operator.sh : $1" >&2; exit 1; }

# The window with the keyboard is the tool's, with that title. (xdotool's own search by name fails on accents in a plain C locale.)
has_keyboard() {
  local window
  window=$(xdotool getwindowfocus 2>/dev/null) || return 1
  [ "$(xdotool getwindowpid "$window" 2>/dev/null)" = "$pid" ] && [ "$(xdotool getwindowname "$window" 2>/dev/null)" = "$1" ]
}

wait_for() {
  local title=$1 i
  for ((i = 0; i < 200; i++)); do
    kill -0 "$pid" 2>/dev/null || fail "le programme s'est terminé avant « $title »"
    ! has_keyboard "$title" || return 0
    sleep 0.1
  done
  fail "la fenêtre « $title » ne vient pas"
}

# A password typed from a pipe does not show in the list of processes.
type_text() { printf '%s' "$1" | xdotool type --delay 20 --file -; }
press() { xdotool key --delay 20 "$@"; }
# A window paints itself a moment after it has the keyboard.
shoot() { sleep 0.4; import -window root "$folder/$1.png"; }

mkdir -p "$folder"
wait_for "Création d'un utilisateur"
shoot 1-dialog
type_text "$password"
press Tab
type_text "${password}x"
press Return
wait_for "Mot de passe incorrect"
shoot 2-message
press Return
wait_for "Création d'un utilisateur"
type_text "$password"
press Tab
type_text "$password"
shoot 3-corrected
press Return
