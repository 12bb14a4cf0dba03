#!/usr/bin/env python3
"""Measures how soon quick requests are answered while a scan of a large volume runs.

    rpc_latency.py --quarn QUARN --volume FOLDER [--home PATH] [--size PATH] [--interval MILLISECONDS]

Starts one scan of all categories, or with --size the sizing of a folder, and sends `VolumeInfoClient.systemVolume` every few milliseconds until the scan is
answered. Prints the number of samples, the median, the 99th percentile and the worst, in milliseconds.
"""

import argparse
import json
import statistics
import subprocess
import threading
import time


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quarn", required=True)
    parser.add_argument("--volume", required=True)
    parser.add_argument("--home", default="/Users/ann")
    parser.add_argument("--size")
    parser.add_argument("--interval", type=float, default=10)
    arguments = parser.parse_args()
    process = subprocess.Popen([arguments.quarn, "--volume", arguments.volume, "--home", arguments.home, "rpc"],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    sent, answered, scanned = {}, {}, threading.Event()

    def send(number, method, **params):
        sent[number] = time.perf_counter()
        message = {"jsonrpc": "2.0", "id": number, "method": method, "params": params}
        process.stdin.write(json.dumps(message).encode() + b"\n")
        process.stdin.flush()

    def read():
        for line in process.stdout:
            now = time.perf_counter()
            number = json.loads(line)["id"]
            answered[number] = now - sent[number]
            if number == 0:
                scanned.set()

    reader = threading.Thread(target=read)
    reader.start()
    if arguments.size:
        send(0, "FileSizeCalculator.itemSize", at=arguments.size, allowSlow=True, includeHidden=True)
    else:
        send(0, "StorageDashboardService.calculatePartitionedCategorySizes")
    number = 0
    while not scanned.wait(arguments.interval / 1000):
        number += 1
        send(number, "VolumeInfoClient.systemVolume")
    process.stdin.close()
    reader.join()
    process.wait()
    times = sorted(1000 * seconds for number, seconds in answered.items() if number > 0)
    print(f"scan {answered[0]:.2f} s; {len(times)} requests: median {statistics.median(times):.2f} ms, "
          f"99 % {times[int(len(times) * 0.99)]:.2f} ms, worst {times[-1]:.2f} ms")


if __name__ == "__main__":
    main()
