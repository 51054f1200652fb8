#!/usr/bin/env bash
# any-locale.sh NM LIBRARY...: no library calls what the locale of the program decides: how numbers are written and read, which bytes are blanks.
# The compiled objects are asked, so that what hides behind std::to_string(double) or a stream is seen too.
set -euo pipefail
nm=$1
shift
forbidden='^(__)?(v?[fs]?n?w?printf|v?asprintf|v?s?n?printf_chk|isoc(99|23)_v?[fs]?scanf|v?[fs]?w?scanf|(str|wcs)to(d|f|ld)|atof|isw?space|tow?(upper|lower)|strftime|strcoll|strxfrm|strn?casecmp|localeconv|setlocale)(_chk)?(@.*)?$'
streamed='^std::(ostream& std::ostream::_M_insert|istream& std::istream::_M_extract)<(double|float|long double)>'
status=0
for library; do
  called=$("$nm" -C --undefined-only "$library" 2>/dev/null | sed -n 's/^ *U //p' | sort -u)
  grep -q '^mem' <<<"$called" || { echo "$library: nm tells of no calls" >&2; exit 1; }
  found=$(grep -E "$forbidden|$streamed" <<<"$called" || true)
  [ -z "$found" ] || { echo "$(basename "$library") calls what follows the locale: ${found//$'\n'/, }" >&2; status=1; }
done
exit $status
