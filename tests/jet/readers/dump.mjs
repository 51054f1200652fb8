// Prints every row of every user table of a file (its password may stand behind its name): hexadecimal name of the table, then hexadecimal name of the column = value, all tab separated.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';

const require = createRequire(pathToFileURL(process.env.TAMLO_NODE_MODULES + '/x.js'));
const { default: MDBReader } = await import(pathToFileURL(require.resolve('mdb-reader')));
const hex = (text) => Buffer.from(text, 'utf8').toString('hex');

function plain(value) {
  if (value === null || value === undefined) return 'null';
  if (value instanceof Date) return 'D' + Math.round(value.getTime() / 1000);
  if (value instanceof Uint8Array) return 'B' + Buffer.from(value).toString('hex');
  if (typeof value === 'number') return 'N' + value.toExponential(6);
  if (typeof value === 'boolean') return value ? 'true' : 'false';
  return 'T' + hex(String(value));
}

const database = new MDBReader(readFileSync(process.argv[2]), { password: process.argv[3] ?? '' });
for (const name of database.getTableNames()) {
  const table = database.getTable(name);
  const columns = table.getColumnNames();
  console.log('table\t' + hex(name) + '\t' + columns.map(hex).join('\t'));
  for (const row of table.getData()) console.log(hex(name) + '\t' + columns.map((column) => hex(column) + '=' + plain(row[column])).join('\t'));
}
