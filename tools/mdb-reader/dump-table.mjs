// Prints what the independent reader mdb-reader sees in an .mdb, for the engine's tests.
//   node dump-table.mjs FILE          -> {"tables":[{"name","rowCount","scanned"}...]}
//   node dump-table.mjs FILE TABLE    -> {"rowCount","columns":[{name,type,size}],"rows":[[cell...]...]}
//   node dump-table.mjs FILE TABLE OFFSET LIMIT -> the same for LIMIT rows from row OFFSET (large tables)
// Cells are strings in the export's forms (dates "YYYY-MM-DD HH:MM:SS", booleans 1/0, binary
// as hex, numbers as JavaScript prints them) or null.
import { readFileSync } from "fs";
import { createRequire } from "module";

const here = new URL(".", import.meta.url).pathname;
const MDBReader = (await import(createRequire(here).resolve("mdb-reader"))).default;
const [file, tableName, rowOffset, rowLimit] = process.argv.slice(2);
const reader = new MDBReader(readFileSync(file));

const pad = (n, w = 2) => String(n).padStart(w, "0");
const numeric = new Set(["byte", "integer", "long", "currency", "float", "double", "numeric", "bigint"]);
function cell(value, type) {
  if (value === null || value === undefined) return null;
  if (numeric.has(type)) return String(Number(value));
  if (typeof value === "boolean") return value ? "1" : "0";
  if (typeof value === "bigint") return value.toString();
  if (value instanceof Date) {
    const d = new Date(Math.round(value.getTime() / 1000) * 1000);
    return `${pad(d.getUTCFullYear(), 4)}-${pad(d.getUTCMonth() + 1)}-${pad(d.getUTCDate())} ` +
      `${pad(d.getUTCHours())}:${pad(d.getUTCMinutes())}:${pad(d.getUTCSeconds())}`;
  }
  if (Buffer.isBuffer(value)) return value.toString("hex");
  return String(value);
}

if (!tableName) {
  const tables = reader.getTableNames().map((name) => {
    const table = reader.getTable(name);
    return { name, rowCount: table.rowCount, scanned: table.getData().length };
  });
  console.log(JSON.stringify({ tables }));
} else {
  const table = reader.getTable(tableName);
  const columns = table.getColumns().map((c) => ({ name: c.name, type: c.type, size: c.size }));
  const range = rowLimit === undefined ? {} : { rowOffset: Number(rowOffset), rowLimit: Number(rowLimit) };
  const rows = table.getData(range).map((row) => columns.map((c) => cell(row[c.name], c.type)));
  console.log(JSON.stringify({ rowCount: table.rowCount, columns, rows }));
}
