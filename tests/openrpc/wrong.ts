// Each line after "@ts-expect-error" must be an error: otherwise the compiler reports the comment.
import type { AppInspection, ArtifactKind, Methods, Params, Progress, Result } from "./quarn.js";

// @ts-expect-error: the method does not exist
export type Unknown = Methods["AppsService.discover"];

// @ts-expect-error: a param is missing
export const missing: Params<"AppsService.calculateAppSize"> = {};

// @ts-expect-error: a param that nobody takes
export const extra: Params<"AppsService.discoverApps"> = { all: true };

// @ts-expect-error: not a kind
export const kind: ArtifactKind = "caches";

// @ts-expect-error: an absent value is null
export const version: string = ({} as Result<"AppsService.discoverApps">)[0]!.version;

// @ts-expect-error: the method reports no progress
export const progress: Progress<"AppsService.discoverApps"> = { phase: "artifacts" };

// What must compile: a record of an answer in a request, and options in part.
export const plan = (inspection: AppInspection): Params<"AppRemovalPlanner.buildPreview"> => ({ inspection, mode: "removeApp" });
export const inspect: Params<"AppInspectionService.inspect"> = {
  app: { name: "A", bundleURL: "/A.app" }, options: { includeReceipts: false }, progress: true, reportUnread: true,
};
