// Lists the apps of a volume, inspects one while its finds arrive, plans a removal, and stops a scan.
//
//     quarn rpc --types typescript > quarn.d.ts
//     tsc --strict --target es2022 --module nodenext quarn-client.ts
//     node quarn-client.js "Lumen Notes" quarn --volume /mnt/mac --home /Users/ann

import { spawn } from "node:child_process";
import { once } from "node:events";
import { createInterface } from "node:readline";
import type { ErrorObject, Methods, Params, Progress, Result } from "./quarn.js";

type Open = { resolve(result: any): void; reject(error: Error | ErrorObject): void; watch: ((value: any) => void) | undefined };

/** One `quarn rpc` process. Requests run side by side; an error answer rejects the promise with its object. */
class Quarn {
  #open = new Map<number, Open>();
  #lastID = 0;
  #failure?: Error;
  #process;

  constructor(command: string, words: string[]) {
    this.#process = spawn(command, [...words, "rpc"], { stdio: ["pipe", "pipe", "inherit"] });
    this.#process.stdin.on("error", () => {}); // the end of the process is handled below
    once(this.#process, "close").then(() => this.#fail(new Error("quarn has ended")), (error) => this.#fail(error));
    createInterface({ input: this.#process.stdout }).on("line", (line) => this.#take(JSON.parse(line)));
  }

  send(message: object) {
    this.#process.stdin.write(JSON.stringify({ jsonrpc: "2.0", ...message }) + "\n");
  }

  /** Resolves to the result. Calls `watch` with each progress value, and with a function that cancels the request. */
  call<M extends keyof Methods>(method: M, params: Params<M>, watch?: (value: Progress<M>, cancel: () => void) => void) {
    const id = ++this.#lastID;
    const cancel = () => this.send({ method: "$/cancelRequest", params: { id } });
    return new Promise<Result<M>>((resolve, reject) => {
      if (this.#failure) return reject(this.#failure);
      this.#open.set(id, { resolve, reject, watch: watch && ((value) => watch(value, cancel)) });
      this.send({ id, method, params: watch ? { ...params, progress: true } : params });
    });
  }

  close = () => this.#process.stdin.end();

  #take({ id, params, result, error }: any) {
    if (params) return this.#open.get(params.id)?.watch?.(params.value);
    if (error) this.#open.get(id)?.reject(error);
    else this.#open.get(id)?.resolve(result);
    this.#open.delete(id);
  }

  #fail(error: Error) {
    this.#failure = error;
    for (const { reject } of this.#open.values()) reject(error);
  }
}

async function main([name, command, ...words]: string[]) {
  const quarn = new Quarn(command!, words);
  const apps = await quarn.call("AppsService.discoverApps", {});
  console.log(`${apps.length} apps`);
  const app = apps.find((candidate) => candidate.name === name)!;
  const inspection = await quarn.call("AppInspectionService.inspect", { app }, ({ phase, artifacts }) =>
    console.log(artifacts ? `  ${phase}: ${artifacts.length} new` : `  ${phase}`));
  const plan = await quarn.call("AppRemovalPlanner.buildPreview", { inspection, mode: "cacheOnly" });
  console.log(`${inspection.artifacts.length} artifacts; ${plan.estimatedBytes} bytes of caches could go`);

  const totals = await quarn.call("StorageDashboardService.calculatePartitionedCategorySizes", {}, (_, cancel) => cancel());
  const bytes = Object.values(totals).reduce((sum, { allocatedBytes }) => sum + allocatedBytes, 0);
  console.log(`scan stopped after ${bytes} bytes`);
  await quarn.call("FileSizeCalculator.resourceSize", { at: "not a path" }).catch((error: ErrorObject) =>
    console.log(`refused: ${error.message} (code ${error.code}, param ${error.data?.param})`));
  quarn.close();
}

await main(process.argv.slice(2)).catch((error) => {
  console.error(`quarn: ${error.message}`);
  process.exitCode = 1;
});
