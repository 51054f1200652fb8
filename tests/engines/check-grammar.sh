#!/usr/bin/env bash
# check-grammar.sh LOG...: checks the statements of the relays' logs; fails and prints those that the dialect's grammar refuses.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd -P)
"$here/install-npm.sh"
NODE_PATH=$here/../../build/npm/grammar/node_modules exec node "$here/grammar/check.js" "$@"
