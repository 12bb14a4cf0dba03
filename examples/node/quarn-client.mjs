#!/usr/bin/env node
// A client of `quarn rpc` for Node.js, and a small example program.
//
//     node quarn-client.mjs --volume /mnt/mac --home /Users/ann --app "Lumen Notes"
//
// Import the class into your program; it has no dependencies. docs/rpc.md describes the interface, and
// `quarn rpc --describe` prints it as JSON.

import { spawn } from "node:child_process";
import { once } from "node:events";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";

/** An error response: `code` is the reason, `data` the details. */
export class QuarnError extends Error {
  constructor({ code, message, data }) {
    super(message);
    this.name = "QuarnError";
    this.code = code;
    this.data = data ?? {};
  }
}

/** One `quarn rpc` process. Requests run one at a time, in order. */
export class QuarnClient {
  #process;
  #ended;
  #nextID = 1;
  #open = new Map();
  #failure;

  constructor({ quarn = "quarn", volume, home } = {}) {
    const words = Object.entries({ "--volume": volume, "--home": home }).flatMap(([name, value]) =>
      value ? [name, value] : [],
    );
    this.#process = spawn(quarn, [...words, "rpc"], { stdio: ["pipe", "pipe", "inherit"] });
    this.#ended = once(this.#process, "close");
    this.#ended.then(() => this.#fail(new Error("quarn has ended")), (error) => this.#fail(error));
    this.#process.stdin.on("error", () => {}); // handled when the process exits
    createInterface({ input: this.#process.stdout, crlfDelay: Infinity }).on("line", (line) => this.#take(line));
  }

  /**
   * Sends a request. `onProgress` receives the progress values. If `signal` is aborted, the operation stops and returns
   * its partial result.
   */
  call(method, params = {}, { onProgress, signal } = {}) {
    const id = this.#nextID++;
    return new Promise((resolve, reject) => {
      if (this.#failure) return reject(this.#failure); // nobody would respond
      const cancel = () => this.#send({ method: "$/cancelRequest", params: { id } });
      const done = (settle) => (value) => {
        signal?.removeEventListener("abort", cancel);
        settle(value);
      };
      this.#open.set(id, { resolve: done(resolve), reject: done(reject), onProgress });
      this.#send({ id, method, params: onProgress ? { ...params, progress: true } : params });
      if (signal?.aborted) cancel();
      else signal?.addEventListener("abort", cancel, { once: true });
    });
  }

  /** Closes the input, lets the process answer all requests, and waits for it to exit. */
  async close() {
    this.#process.stdin.end();
    return this.#ended.then(([status]) => status, () => 1);
  }

  #send(message) {
    this.#process.stdin.write(JSON.stringify({ jsonrpc: "2.0", ...message }) + "\n");
  }

  #take(line) {
    const message = JSON.parse(line);
    if (message.method === "$/progress") {
      this.#open.get(message.params.id)?.onProgress?.(message.params.value);
      return;
    }
    const call = this.#open.get(message.id);
    if (!call) return;
    this.#open.delete(message.id);
    if (message.error) call.reject(new QuarnError(message.error));
    else call.resolve(message.result);
  }

  #fail(error) {
    this.#failure = error;
    for (const call of this.#open.values()) call.reject(error);
    this.#open.clear();
  }
}

const everything = {
  includeHeuristicSearch: true,
  heuristicMaxDepth: 3,
  heuristicMaxResults: 50,
  includeDocumentsHeuristicSearch: true,
  documentsHeuristicMaxDepth: 3,
  documentsHeuristicMaxResults: 50,
  includeVendorHeuristics: true,
  includeSystemArtifacts: true,
  includeSystemHeuristicSearch: true,
  includeGroupContainers: true,
  includeLaunchd: true,
  includeReceipts: true,
  includeKernelExtensions: true,
  computeArtifactSizes: true,
};

async function main() {
  const { values } = parseArgs({
    options: {
      quarn: { type: "string" },
      volume: { type: "string" },
      home: { type: "string" },
      app: { type: "string" },
    },
  });
  const quarn = new QuarnClient(values);
  try {
    const apps = await quarn.call("AppsService.discoverApps");
    console.log(`${apps.length} apps`);
    const app = apps.find(({ name }) => values.app === undefined || name === values.app);
    if (!app) throw new Error(`no app is called ${values.app}`);

    const inspection = await quarn.call(
      "AppInspectionService.inspect",
      { app, options: everything },
      { onProgress: ({ phase }) => console.log("  looking for", phase) },
    );
    console.log(`${app.name}: ${inspection.artifacts.length} artifacts`);
    for (const { size, riskLevel, title } of inspection.artifacts) {
      console.log(`  ${String(size.allocatedBytes).padStart(12)}  ${riskLevel.padEnd(7)}  ${title}`);
    }

    const stop = new AbortController();
    const totals = await quarn.call(
      "StorageDashboardService.calculatePartitionedCategorySizes",
      {},
      { onProgress: () => stop.abort(), signal: stop.signal },
    );
    const found = Object.values(totals).reduce((sum, { allocatedBytes }) => sum + allocatedBytes, 0);
    console.log(`scan stopped with ${found} bytes found so far`);

    try {
      await quarn.call("FileSizeCalculator.resourceSize", { at: "not a path" });
    } catch (error) {
      if (!(error instanceof QuarnError)) throw error;
      console.log(`refused: ${error.message} (code ${error.code}, param ${error.data.param})`);
    }
  } finally {
    await quarn.close();
  }
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  await main().catch((error) => {
    console.error(`quarn: ${error.message}`);
    process.exitCode = 1;
  });
}
