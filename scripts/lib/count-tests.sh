#!/usr/bin/env bash
# Adds up the GoogleTest reports of a folder, names every skipped test with its reason, and closes with one line of counts.
set -euo pipefail
folder=$1
shopt -s nullglob
reports=("$folder"/*.xml)
[ ${#reports[@]} -gt 0 ] || { echo "no test report in $folder" >&2; exit 1; }

awk '
  function attribute(line, name,   found) {
    if (match(line, " " name "=\"[^\"]*\"")) {
      found = substr(line, RSTART + length(name) + 3, RLENGTH - length(name) - 4)
      return found
    }
    return ""
  }
  /<testsuites / { total += attribute($0, "tests"); failed += attribute($0, "failures") + attribute($0, "errors") }
  /<testcase / { current = attribute($0, "classname") "." attribute($0, "name") }
  /<skipped/ {
    skipped++
    reason = attribute($0, "message")
    gsub(/&#x0A;.*/, "", reason)
    print "skipped: " current " (" reason ")"
  }
  END { printf "%d passed, %d failed, %d skipped\n", total - failed - skipped, failed, skipped }
' "${reports[@]}"
