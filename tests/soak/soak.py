#!/usr/bin/env python3
"""Sends many mixed requests to one `quarn rpc`, as four clients would, and cancels some at random.

    soak.py --quarn QUARN --volume FOLDER [--requests N] [--seed N] [--no-memory]

Fails if a request has no answer or two, if a notification comes for a request that is not open, if the process ends
with an error, or if descriptors or memory grow. Memory and descriptors are read while no request is open, ten times;
the first two readings may differ, because caches fill. --no-memory: a sanitizer keeps memory of its own.
"""

import argparse
import json
import os
import random
import subprocess
import sys
import threading

CLIENTS = 4
WINDOW = 200  # open requests of all clients
APP = {"name": "Lumen Notes", "bundleIdentifier": "com.lumenworks.notes", "bundleURL": "/Applications/Lumen Notes.app"}
LISTING = {"allowSlow": True, "includeHidden": True}
# Weight, method, params. Quick ones, ones that walk, and ones that are refused.
MIX = [
    (8, "version", {}),
    (8, "VolumeInfoClient.systemVolume", {}),
    (8, "QuarantineManager.baseURL", None),
    (4, "AppInspectionService.phaseSequence", {"options": {"includeReceipts": False}}),
    (4, "AppInspectionService.defaultOptions", {}),
    (4, "VendorPathResolver.matches", {"pattern": "a*b", "text": "a/b"}),
    (2, "VendorProfileRegistry.matchingProfiles", {"app": APP}),
    (4, "EntitlementsReader.readEntitlements", {"forAppAt": APP["bundleURL"]}),
    (4, "TopItemsService.children", {"in": "/Users/ann/Documents", **LISTING}),
    (2, "TopItemsService.children", {"in": ["/nowhere", "/Users/ann/Downloads"], **LISTING}),
    (4, "TopItemsService.topChildren", {"in": "/Users/ann", "limit": 5, **LISTING}),
    (4, "FileSizeCalculator.itemSize", {"at": "/Users/ann/Library", **LISTING}),
    (2, "AppsService.discoverApps", {}),
    (2, "LaunchdScanner.scan", {}),
    (1, "AppInspectionService.inspect", {"app": APP}),
    (1, "StorageDashboardService.calculatePartitionedCategorySizes", {}),
    (2, "FileSizeCalculator.itemSize", {"at": "/nowhere", **LISTING}),
    (2, "FileSizeCalculator.itemSize", {"at": 1}),
    (2, "No.such", {}),
]
WITH_PROGRESS = {"TopItemsService.children", "TopItemsService.topChildren", "AppInspectionService.inspect",
                 "StorageDashboardService.calculatePartitionedCategorySizes"}


class Soak:
    def __init__(self, arguments):
        self.random = random.Random(arguments.seed)
        command = [arguments.quarn, "--volume", arguments.volume, "--home", "/Users/ann", "rpc", "--max-concurrent", "4"]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.changed = threading.Condition()
        self.open = {}  # what notifications an open request may still send, by id
        self.answered = 0
        self.notified = 0
        self.faults = []
        self.last = [0] * CLIENTS
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def fault(self, text):
        with self.changed:
            self.faults.append(text)

    # ---- the process's side

    def read(self):
        for line in self.process.stdout:
            message = json.loads(line)
            for part in message if isinstance(message, list) else [message]:
                self.take(part)
        with self.changed:
            self.changed.notify_all()

    def take(self, message):
        with self.changed:
            if "method" in message:
                self.notified += 1
                allowed = self.open.get(message["params"]["id"])
                if allowed is None or message["method"] not in allowed:
                    self.faults.append(f"unexpected: {json.dumps(message)[:200]}")
                elif message["method"] == "$/unread":
                    allowed.clear()  # nothing but the answer may follow
            elif self.open.pop(message["id"], None) is None:
                self.faults.append(f"no open request: {json.dumps(message)[:200]}")
            else:
                self.answered += 1
            self.changed.notify_all()

    def wait(self, condition):
        with self.changed:
            if not self.changed.wait_for(lambda: condition() or not self.reader.is_alive(), timeout=300):
                raise SystemExit(f"no answer in 300 s; {len(self.open)} requests are open: {list(self.open)[:5]}")

    # ---- the clients' side

    def request(self):
        client = self.random.randrange(CLIENTS)
        self.last[client] += 1
        # Two clients count with numbers of their own, two with texts.
        number = self.last[client] * 2 + client if client < 2 else f"client {client}: {self.last[client]}"
        method, params = self.random.choices([row[1:] for row in MIX], [row[0] for row in MIX])[0]
        call = {"jsonrpc": "2.0", "id": number, "method": method}
        allowed = set()
        if params is not None:
            params = dict(params)
            if method in WITH_PROGRESS and self.random.random() < 0.5:
                params["progress"] = True
                allowed.add("$/progress")
            if self.random.random() < 0.3 and method != "No.such":
                params["reportUnread"] = True
                allowed.add("$/unread")
            call["params"] = params
        with self.changed:
            self.open[number] = allowed
        return call

    def write(self, value):
        self.process.stdin.write(json.dumps(value).encode() + b"\n")

    def send(self):
        """Sends one line and returns the number of its requests."""
        chance = self.random.random()
        if chance < 0.02:
            self.process.stdin.write(b"  \n")
        if chance > 0.05:
            self.write(self.request())
            return 1
        batch = [self.request() for _ in range(3)]
        self.write([batch[0], {"jsonrpc": "2.0", "method": "a notification"}, *batch[1:]])
        return 3

    def cancel(self):
        with self.changed:
            known = list(self.open)
        number = self.random.choice(known) if known and self.random.random() < 0.9 else self.random.randrange(1000)
        self.write({"jsonrpc": "2.0", "method": "$/cancelRequest", "params": {"id": number}})

    def run(self, requests):
        sent = 0
        while sent < requests and not self.faults and self.reader.is_alive():
            sent += self.send()
            if self.random.random() < 0.15:
                self.cancel()
            if sent % 8 == 0:
                self.process.stdin.flush()
                self.wait(lambda: len(self.open) < WINDOW)
        self.process.stdin.flush()
        self.wait(lambda: not self.open)
        return sent

    def reading(self):
        """Resident kilobytes and open descriptors, now that nothing runs."""
        folder = f"/proc/{self.process.pid}"
        with open(f"{folder}/status", encoding="ascii") as status:
            memory = next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))
        return memory, len(os.listdir(f"{folder}/fd"))

    def finish(self):
        self.process.stdin.close()
        self.reader.join()
        status = self.process.wait()
        if status != 0:
            self.fault(f"exit status {status}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quarn", required=True)
    parser.add_argument("--volume", required=True)
    parser.add_argument("--requests", type=int, default=2000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--no-memory", action="store_true")
    arguments = parser.parse_args()
    soak = Soak(arguments)
    sent = 0
    readings = []
    for _ in range(10):
        sent += soak.run(arguments.requests // 10)
        if soak.reader.is_alive():
            readings.append(soak.reading())
    soak.finish()
    print(f"{sent} requests, {soak.answered} answers, {soak.notified} notifications")
    print("resident kilobytes:", *(memory for memory, _ in readings))
    print("descriptors:", *(descriptors for _, descriptors in readings))
    if soak.answered != sent:
        soak.fault(f"{sent - soak.answered} answers are missing")
    steady = readings[2:]
    if len({descriptors for _, descriptors in steady}) != 1:
        soak.fault("the number of descriptors changed")
    # The heap of several threads settles slowly; a leak of 100 bytes per request would be seen.
    allowed = 4096 + arguments.requests // 10
    if not arguments.no_memory and steady and steady[-1][0] - steady[0][0] > allowed:
        soak.fault(f"memory grew by more than {allowed} kilobytes")
    for fault in soak.faults[:10]:
        print("FAULT:", fault)
    return 1 if soak.faults else 0


if __name__ == "__main__":
    sys.exit(main())
