// Prints every row of every user table of a file, one JSON text per line: [table, [values in the order of the columns]].
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';

const require = createRequire(pathToFileURL(process.env.TAMLO_NODE_MODULES + '/x.js'));
const { default: MDBReader } = await import(pathToFileURL(require.resolve('mdb-reader')));

function plain(value) {
  if (value === null || value === undefined) return null;
  if (value instanceof Date) return 'D' + Math.round(value.getTime() / 1000);
  if (value instanceof Uint8Array) return 'B' + Buffer.from(value).toString('hex');
  if (typeof value === 'number') return 'N' + value.toPrecision(7);
  if (typeof value === 'boolean') return value;
  return 'T' + value;
}

const database = new MDBReader(readFileSync(process.argv[2]));
for (const name of database.getTableNames()) {
  const table = database.getTable(name);
  const columns = table.getColumnNames();
  for (const row of table.getData()) console.log(JSON.stringify([name, ...columns.map((column) => [column, plain(row[column])])]));
}
