#!/usr/bin/env bash
# Adds up the GoogleTest reports of a folder, names every skipped test with its reason, and closes with one line of counts.
# A program that ended without a report, or a script that failed, counts as one failed test.
#   count-tests.sh FOLDER FAILED_PROGRAMS
set -euo pipefail
folder=$1
programs=$2
shopt -s nullglob
reports=("$folder"/*.xml)
[ ${#reports[@]} -gt 0 ] || { echo "no test report in $folder" >&2; exit 1; }

awk -v programs="$programs" '
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
    if (!sub(/^[^&]*&#x0A;/, "", reason)) reason = "no reason given, " reason
    gsub(/&#x0A;/, " ", reason)
    gsub(/&apos;/, "\047", reason)
    gsub(/&quot;/, "\"", reason)
    print "skipped: " current " (" reason ")"
  }
  END {
    passed = total - failed - skipped
    if (failed < programs) failed = programs
    printf "%d passed, %d failed, %d skipped\n", passed, failed, skipped
  }
' "${reports[@]}"
