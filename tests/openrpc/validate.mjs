// Checks the OpenRPC document on standard input: the document against the standard's own schema, every schema in it against
// JSON Schema, and one real answer of each record against its schema. The first argument is the folder of node_modules, the
// second the folder of golden answers. Prints the first errors and exits with 1 if there are any.
import { readFileSync, readdirSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";

const [tools, goldens] = process.argv.slice(2);
const require = createRequire(resolve(tools, "package.json"));
const { default: Ajv } = require("ajv");
const { default: addFormats } = require("ajv-formats");
const openRPCSchema = require("@open-rpc/meta-schema").default ?? require("@open-rpc/meta-schema");
const jsonSchema = require("@json-schema-tools/meta-schema").default ?? require("@json-schema-tools/meta-schema");

const document = JSON.parse(readFileSync(0, "utf8"));
let failures = 0;
const fail = (what, errors) => {
  failures += 1;
  if (failures < 20) console.error(what, JSON.stringify(errors?.slice(0, 3), null, 1));
};

const standard = new Ajv({ strict: false });
addFormats(standard);
standard.addSchema(jsonSchema, "https://meta.json-schema.tools");
const isOpenRPC = standard.compile(openRPCSchema);
if (!isOpenRPC(document)) fail("the document", isOpenRPC.errors);

// The golden files have placeholders where an answer differs from run to run.
const standIns = { "<bytes of the disk>": 1, "<the date of the inspection>": "2026-01-01T00:00:00Z",
                   "<the date of the last change>": "2026-01-01T00:00:00Z" };
const filled = (_, value) => standIns[value] ?? value;

// The references in the document point into it, so it is the root of every schema.
const schemas = new Ajv({ strict: false });
addFormats(schemas, ["uri", "date-time"]);
schemas.addSchema({ $id: "interface", ...document });
let answers = 0;
const notifications = new Set();
function checkNotification({ method, params }) {
  const index = document["x-notifications"].findIndex(({ name }) => name === method);
  document["x-notifications"][index].params.forEach(({ name }, place) => {
    const isParam = schemas.compile({ $ref: `interface#/x-notifications/${index}/params/${place}/schema` });
    if (!isParam(params[name])) fail(`${method}, ${name}`, isParam.errors);
  });
  notifications.add(method);
}
for (const method of document.methods) {
  const index = document.methods.indexOf(method);
  const isResult = schemas.compile({ $ref: `interface#/methods/${index}/result/schema` });
  method.params.forEach((param, place) => schemas.compile({ $ref: param.$ref ? `interface${param.$ref}/schema`
                                                                  : `interface#/methods/${index}/params/${place}/schema` }));
  for (const message of JSON.parse(readFileSync(join(goldens, `${method.name}.json`), "utf8"), filled).answers) {
    if (message.method) checkNotification(message);
    if (message.result === undefined) continue;
    answers += 1;
    if (!isResult(message.result)) fail(`the answer of ${method.name}`, isResult.errors);
  }
}
const files = readdirSync(goldens).length;
if (files !== document.methods.length) fail(`${files} golden files for ${document.methods.length} methods`);
if (answers < document.methods.length / 2) fail(`only ${answers} answers were checked`);
for (const { name, sender } of document["x-notifications"]) {
  if (sender === "process" && !notifications.has(name)) fail(`no golden answer holds ${name}`);
}
console.log(`${document.methods.length} methods, ${answers} answers, ${failures} failures`);
process.exit(failures === 0 ? 0 : 1);
