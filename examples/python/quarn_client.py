#!/usr/bin/env python3
"""Lists the apps of a volume, inspects one while its finds arrive, plans a removal, and stops a scan.

quarn rpc --types python > quarn_rpc.py
python3 quarn_client.py "Lumen Notes" quarn --volume /mnt/mac --home /Users/ann
"""

import itertools
import json
import subprocess
import sys
from typing import Any, Callable, TypeVar

from quarn_rpc import PhaseProgress, Request, methods

Result = TypeVar("Result")
Value = TypeVar("Value")


class QuarnError(Exception):
    """An error answer: an object with `code`, `message` and `data`."""


class Quarn:
    """One `quarn rpc` process, for one thread that waits for each answer."""

    def __init__(self, *command: str) -> None:
        self.process = subprocess.Popen([*command, "rpc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.ids = itertools.count(1)

    def send(self, **message: object) -> None:
        assert self.process.stdin
        self.process.stdin.write(json.dumps({"jsonrpc": "2.0", **message}).encode() + b"\n")
        self.process.stdin.flush()

    def call(self, request: Request[Result, Value], watch: Callable[[int, Value], None] | None = None) -> Result:
        """Returns the result. Calls `watch` with the id of the request and each progress value."""
        number = next(self.ids)
        self.send(id=number, method=request.method, params={**request.params, **({"progress": True} if watch else {})})
        for line in self.process.stdout or ():
            message = json.loads(line)
            if "method" in message and watch:
                watch(number, message["params"]["value"])
            elif "error" in message:
                raise QuarnError(message["error"])
            else:
                result: Result = message["result"]
                return result
        raise OSError("quarn has ended")


def main(name: str, *command: str) -> None:
    quarn = Quarn(*command)
    apps = quarn.call(methods.AppsService.discoverApps())
    print(f"{len(apps)} apps")
    app = next(app for app in apps if app["name"] == name)

    def show(_: int, value: PhaseProgress) -> None:
        print(f"  {value['phase']}: {len(value['artifacts'])} new" if "artifacts" in value else f"  {value['phase']}")

    inspection = quarn.call(methods.AppInspectionService.inspect({"app": app}), show)
    plan = quarn.call(methods.AppRemovalPlanner.buildPreview({"inspection": inspection, "mode": "cacheOnly"}))
    print(f"{len(inspection['artifacts'])} artifacts; {plan['estimatedBytes']} bytes of caches could go")

    scan = methods.StorageDashboardService.calculatePartitionedCategorySizes()
    totals = quarn.call(scan, lambda number, _: quarn.send(method="$/cancelRequest", params={"id": number}))
    print(f"scan stopped after {sum(size['allocatedBytes'] for size in totals.values())} bytes")
    try:
        quarn.call(methods.FileSizeCalculator.resourceSize({"at": "not a path"}))
    except QuarnError as refusal:
        [error] = refusal.args
        print(f"refused: {error['message']} (code {error['code']}, param {error['data']['param']})")


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except OSError as failure:
        sys.exit(f"quarn: {failure}")
