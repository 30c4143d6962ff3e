// Prints every user table of a .mdb as mdb-reader sees it: "name rows: column:type:size ...".
// Usage: node mdb_reader_summary.mjs <path to the mdb-reader package entry> <file.mdb>
import { readFileSync } from "fs";
const { default: MDBReader } = await import(process.argv[2]);
const reader = new MDBReader(readFileSync(process.argv[3]));
for (const name of reader.getTableNames()) {
  const table = reader.getTable(name);
  const columns = table.getColumns().map((c) => `${c.name}:${c.type}:${c.size}`).join(" ");
  console.log(`${name} ${table.rowCount}/${table.getData().length}: ${columns}`);
}
