// Loads what a fleet has sent into DuckDB, asks the questions of docs/fleet.md, and prints the time of each.
//   query.mjs PACKAGES FOLDER APP
import {createRequire} from 'node:module';
import {performance} from 'node:perf_hooks';

const [packages, folder, app] = process.argv.slice(2);
const {DuckDBInstance} = await import(createRequire(`${packages}/package.json`).resolve('@duckdb/node-api'));
const connection = await (await DuckDBInstance.create(':memory:', {threads: '2', memory_limit: '1GB'})).connect();

async function timed(title, sql) {
  const start = performance.now();
  const reader = await connection.runAndReadAll(sql);
  const rows = reader.getRows();
  console.log(`\n${title}: ${(performance.now() - start).toFixed(0)} ms`);
  return rows;
}

// The folder of the Mac is its name. A name that is not UTF-8 is an object, so names are JSON first.
const mac = (file) => `regexp_extract(${file}, '([^/]+)/(tables/)?[^/]+$', 1) AS mac`;
const table = (name, columns) => `CREATE TABLE ${name} AS SELECT ${mac('filename')}, * EXCLUDE (filename)
  FROM read_ndjson('${folder}/*/tables/${name}.ndjson', filename = true, columns = {${columns}})`;
await timed(
    'load leftovers',
    table(
        'leftovers',
        'id: \'INTEGER\', name: \'VARCHAR\', bundle_identifier: \'VARCHAR\', modified: \'BIGINT\', allocated: \'BIGINT\', logical: \'BIGINT\''));
await timed(
    'load apps',
    table(
        'apps',
        'id: \'INTEGER\', name: \'VARCHAR\', bundle_identifier: \'VARCHAR\', path: \'VARCHAR\', version: \'VARCHAR\', allocated: \'BIGINT\', logical: \'BIGINT\''));
await timed(
    'load folders',
    table(
        'folders',
        'id: \'INTEGER\', parent: \'INTEGER\', descendants: \'INTEGER\', name: \'VARCHAR\', allocated: \'BIGINT\', logical: \'BIGINT\', files: \'BIGINT\', newest: \'BIGINT\', marks: \'INTEGER\''));
await timed('load changes', `CREATE TABLE changes AS SELECT ${mac('filename')}, kind, url,
    coalesce(after.allocatedBytes, 0) - coalesce(before.allocatedBytes, 0) AS growth
  FROM read_ndjson('${folder}/*/changes.ndjson', filename = true, columns = {kind: 'VARCHAR', url: 'VARCHAR',
    before: 'STRUCT(allocatedBytes BIGINT)', after: 'STRUCT(allocatedBytes BIGINT)'}) WHERE kind = 'folder'`);

const counts = await timed(
    'count', `SELECT count(DISTINCT mac), (SELECT count(*) FROM leftovers), (SELECT count(*) FROM apps), count(*),
  (SELECT count(*) FROM changes) FROM folders`);
console.log(`${counts[0][0]} Macs: ${counts[0][1]} leftovers, ${counts[0][2]} apps, ${counts[0][3]} folders, ${
    counts[0][4]} changes`);

const growths = await timed(
    'ten largest growths of the fleet since the last scan',
    'SELECT mac, url, growth FROM changes ORDER BY growth DESC, mac LIMIT 10');
for (const [name, url, growth] of growths) console.log(`  ${name}  ${url}  ${growth}`);

const holders = await timed(
    `Macs that hold leftovers of ${app}`,
    `SELECT mac, allocated FROM leftovers WHERE name = '${app}' OR bundle_identifier = '${
        app}' ORDER BY allocated DESC, mac`);
console.log(`  ${holders.length} Macs; first: ${holders.slice(0, 3).map((row) => row.join(' ')).join(', ')}`);

const versions = await timed(
    'versions of each app',
    'SELECT bundle_identifier, version, count(*) AS macs FROM apps GROUP BY ALL ORDER BY macs DESC LIMIT 3');
for (const row of versions) console.log(`  ${row.join('  ')}`);

const spread = await timed(
    'space of each top-level folder in the whole fleet',
    'SELECT name, sum(allocated) AS bytes FROM folders WHERE parent = 0 AND id > 0 GROUP BY name ORDER BY bytes DESC LIMIT 3');
for (const row of spread) console.log(`  ${row.join('  ')}`);
