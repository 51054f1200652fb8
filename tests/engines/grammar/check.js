// node check.js log-file...: checks every statement of the relays' logs against the grammar of its dialect, each text once.
// Prints a line for each refused one, {"dialect", "text", "error"}, and last {"checked": n}; fails when there is one, or nothing to check.
// What expected.json names must be refused: a grammar that takes it is a failure too. Finds antlr4ts-sql through NODE_PATH.
'use strict';
const fs = require('fs');

console.error = () => {};  // the library reports its own ambiguities there
const {antlr4tsSQL, SQLDialect} = require('antlr4ts-sql');

const dialects = {
  Oracle: {grammar: SQLDialect.PLSQL, start: 'sql_script', parameter: ':'},
  MSSQLServer: {grammar: SQLDialect.TSQL, start: 'tsql_file', parameter: '@P'},
};

// The first complaint of lexer or parser, or null.
function complaint({grammar, start, parameter}, text) {
  const errors = [];
  const listener = {syntaxError: (recognizer, symbol, line, column, message) => errors.push(`${column}: ${message}`)};
  try {
    // Parameters reach the relay in the driver's own form.
    const sql = text.trim().replace(/;$/, '').replace(/\$(\d+)/g, parameter + '$1') + ';';
    const parser = new antlr4tsSQL(grammar).getParserFromSQL(sql);
    for (const stage of [parser, parser.inputStream.tokenSource]) {
      stage.removeErrorListeners();
      stage.addErrorListener(listener);
    }
    parser[start]();
  } catch (failure) {
    errors.push(failure.message);
  }
  return errors.length ? errors[0] : null;
}

const expected = JSON.parse(fs.readFileSync(__dirname + '/expected.json', 'utf8'));
const seen = new Set();
let checked = 0;
let failures = 0;
for (const file of process.argv.slice(2)) {
  for (const line of fs.readFileSync(file, 'utf8').split('\n')) {
    if (!line || seen.has(line)) continue;
    seen.add(line);
    const {dialect, text} = JSON.parse(line);
    const error = complaint(dialects[dialect], text);
    const meant = expected.find(entry => entry.dialect === dialect && new RegExp(entry.pattern, 's').test(text));
    checked++;
    if (!error === !meant) continue;
    failures++;
    console.log(JSON.stringify({dialect, text, error: error || 'is not refused: ' + meant.reason}));
  }
}
console.log(JSON.stringify({checked}));
process.exit(failures || !checked ? 1 : 0);
