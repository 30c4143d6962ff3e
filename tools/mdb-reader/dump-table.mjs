// Prints what the independent reader mdb-reader sees in an .mdb, for the engine's tests.
//   node dump-table.mjs FILE TABLE    -> CSV: the stored row count, the column names, then the rows
//   node dump-table.mjs FILE TABLE OFFSET LIMIT -> the same for LIMIT rows from row OFFSET (large tables)
// The CSV is mdb-export's: every cell in double quotes (a quote doubled), a null left empty and
// unquoted. Cells are in the export's forms (dates "YYYY-MM-DD HH:MM:SS", booleans 1/0, binary
// as hex, numbers as JavaScript prints them).
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

const csv = (cells) => cells.map((c) => (c === null ? "" : `"${String(c).replaceAll('"', '""')}"`)).join(",");
const table = reader.getTable(tableName);
const columns = table.getColumns();
const range = rowLimit === undefined ? {} : { rowOffset: Number(rowOffset), rowLimit: Number(rowLimit) };
const lines = [csv([table.rowCount]), csv(columns.map((c) => c.name))];
for (const row of table.getData(range)) lines.push(csv(columns.map((c) => cell(row[c.name], c.type))));
process.stdout.write(lines.join("\n") + "\n");
