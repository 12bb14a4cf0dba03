#!/usr/bin/env python3
"""A client of `quarn rpc` in plain Python, and a small example program.

    python3 quarn_client.py --volume /mnt/mac --home /Users/ann --app "Lumen Notes"

Copy the class into your program; it needs only the standard library. docs/rpc.md describes the interface, and
`quarn rpc --describe` prints it as JSON.
"""

import argparse
import itertools
import json
import subprocess
import sys
import threading
from concurrent.futures import Future


class QuarnError(Exception):
    """An error response: `code` is the reason, `data` the details."""

    def __init__(self, error):
        super().__init__(error["message"])
        self.code = error["code"]
        self.data = error.get("data", {})


class Call:
    """A request that was sent."""

    def __init__(self, client, request_id, progress):
        self.id = request_id
        self.progress = progress
        self.future = Future()
        self._client = client

    def result(self, timeout=None):
        """Waits for the result. Raises QuarnError."""
        return self.future.result(timeout)

    def cancel(self):
        """Cancels the operation, which then returns its partial result."""
        self._client.send({"method": "$/cancelRequest", "params": {"id": self.id}})


class QuarnClient:
    """One `quarn rpc` process. Requests run one at a time, in order.

    Thread-safe. `progress` callbacks run on the reader thread and must not wait for results.
    """

    def __init__(self, quarn="quarn", volume=None, home=None):
        options = [("--volume", volume), ("--home", home)]
        words = [word for option in options if option[1] for word in option]
        self._process = subprocess.Popen(
            [quarn, *words, "rpc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="utf-8", bufsize=1
        )
        self._ids = itertools.count(1)
        self._open = {}
        self._ended = False
        self._lock = threading.Lock()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def start(self, method, params=None, progress=None):
        """Sends a request and returns at once. Calls `progress` with each progress value."""
        params = dict(params or {})
        if progress:
            params["progress"] = True
        call = Call(self, next(self._ids), progress)
        with self._lock:
            if self._ended:  # nobody would respond
                raise ConnectionError("quarn has ended")
            self._open[call.id] = call
        self.send({"id": call.id, "method": method, "params": params})
        return call

    def call(self, method, params=None, progress=None):
        """Sends a request and waits for its result."""
        return self.start(method, params, progress).result()

    def close(self):
        """Closes the input, lets the process answer all requests, and waits for it to exit."""
        try:
            self._process.stdin.close()
        except BrokenPipeError:
            pass  # it has already exited
        status = self._process.wait()
        self._reader.join()
        self._process.stdout.close()
        return status

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def send(self, message):
        """Sends a raw message."""
        line = json.dumps({"jsonrpc": "2.0", **message})
        with self._lock:
            self._process.stdin.write(line + "\n")
            self._process.stdin.flush()

    def _read(self):
        for line in self._process.stdout:
            self._take(json.loads(line))
        with self._lock:
            self._ended = True
            unanswered = list(self._open.values())
            self._open.clear()
        for call in unanswered:
            call.future.set_exception(ConnectionError("quarn has ended"))

    def _take(self, message):
        if message.get("method") == "$/progress":
            self._open[message["params"]["id"]].progress(message["params"]["value"])
            return
        call = self._open.pop(message["id"])
        if "error" in message:
            call.future.set_exception(QuarnError(message["error"]))
        else:
            call.future.set_result(message["result"])


EVERYTHING = {
    "includeHeuristicSearch": True,
    "heuristicMaxDepth": 3,
    "heuristicMaxResults": 50,
    "includeDocumentsHeuristicSearch": True,
    "documentsHeuristicMaxDepth": 3,
    "documentsHeuristicMaxResults": 50,
    "includeVendorHeuristics": True,
    "includeSystemArtifacts": True,
    "includeSystemHeuristicSearch": True,
    "includeGroupContainers": True,
    "includeLaunchd": True,
    "includeReceipts": True,
    "includeKernelExtensions": True,
    "computeArtifactSizes": True,
}


def main():
    parser = argparse.ArgumentParser(description="Lists the apps of a volume, inspects one, and stops a scan.")
    parser.add_argument("--quarn", default="quarn", help="the command to start")
    parser.add_argument("--volume", help="folder where the Mac volume is mounted")
    parser.add_argument("--home", help="the home folder, a path on the Mac")
    parser.add_argument("--app", help="name of the app to inspect (default: the first one)")
    arguments = parser.parse_args()
    try:
        show(arguments)
    except OSError as error:
        sys.exit(f"quarn: {error}")


def show(arguments):
    with QuarnClient(arguments.quarn, arguments.volume, arguments.home) as quarn:
        apps = quarn.call("AppsService.discoverApps")
        print(f"{len(apps)} apps")
        chosen = [app for app in apps if arguments.app in (None, app["name"])]
        if not chosen:
            sys.exit(f"no app is called {arguments.app}")

        inspection = quarn.call(
            "AppInspectionService.inspect",
            {"app": chosen[0], "options": EVERYTHING},
            progress=lambda value: print("  looking for", value["phase"]),
        )
        print(f"{chosen[0]['name']}: {len(inspection['artifacts'])} artifacts")
        for artifact in inspection["artifacts"]:
            print(f"  {artifact['size']['allocatedBytes']:>12}  {artifact['riskLevel']:<7}  {artifact['title']}")

        begun = threading.Event()
        scan = quarn.start(
            "StorageDashboardService.calculatePartitionedCategorySizes", progress=lambda value: begun.set()
        )
        begun.wait(timeout=10)
        scan.cancel()
        totals = scan.result()
        print(f"scan stopped with {sum(size['allocatedBytes'] for size in totals.values())} bytes found so far")

        try:
            quarn.call("FileSizeCalculator.resourceSize", {"at": "not a path"})
        except QuarnError as error:
            print(f"refused: {error} (code {error.code}, param {error.data['param']})")


if __name__ == "__main__":
    main()
