"""Runs walks of the same trees by several programs alternately and prints medians, ratios to the floor and peak memory.

Usage: side_by_side.py --bin DIR [--trees DIR] [--rounds N] [--only NAME] [--cold]

The floor is the bare system calls on two threads (benchmarks/floor/floor.cc). Machines are noisy: only ratios of one run say
something. --cold drops the caches before each run (root only).
"""

import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import time

HOME = "/Users/ann"
TREES = {
    "home 200k": ("home", 200_000),
    "home 1M": ("home", 1_000_000),
    "flat 500k": ("flat", 500_000),
    "chain 2000": ("chain", 2_000),
}


def make_tree(gentree, root, kind, count):
    """The tree as the home folder of a volume; what exists is kept."""
    home = root / HOME.lstrip("/")
    if not (root / ".complete").exists():
        shutil.rmtree(root, ignore_errors=True)
        home.parent.mkdir(parents=True)
        subprocess.run([gentree, kind, home, str(count)], check=True, stdout=subprocess.DEVNULL)
        (root / ".complete").touch()
    return home


def rpc(quarn, root, method, params):
    """The command's arguments and input for one request."""
    request = '{"jsonrpc":"2.0","id":1,"method":"%s","params":%s}\n' % (method, params)
    return [quarn, "--volume", str(root), "--home", HOME, "rpc"], request


def programs(bin_folder, root, home):
    """Name -> (arguments, input). What is not installed is left out."""
    quarn = str(bin_folder / "quarn")
    walk = str(bin_folder / "walk")
    search = '{"in":["%s"],"limit":20,"maxDepth":1000000,"maxVisited":1000000000,"allowSlowForPackages":false,' \
             '"includeHidden":true,"preferAllocatedSize":false}' % HOME
    cloud = '{"in":["%s"],"maxDepth":1000000,"maxVisited":1000000000,"allowSlowForPackages":false}' % HOME
    candidates = {
        "floor": ([str(bin_folder / "floor"), "b", str(home)], None),
        "quarn: size": ([walk, "size", str(home)], None),
        "quarn: ordered, sizes": ([walk, "ordered", str(home), "7"], None),
        "quarn: partitioned scan": rpc(quarn, root, "StorageDashboardService.calculatePartitionedCategorySizes", "{}"),
        "quarn: topFilesRecursively": rpc(quarn, root, "TopItemsService.topFilesRecursively", search),
        "quarn: cloudSummary": rpc(quarn, root, "TopItemsService.cloudSummary", cloud),
        "du -s": (["du", "-s", str(home)], None),
        "gdu -npc": (["gdu", "-npc", str(home)], None),
        "ncdu -0xo": (["ncdu", "-0xo", "/dev/null", str(home)], None),
        "bfs -printf %s": (["bfs", str(home), "-printf", "%s\n"], None),
    }
    return {name: run for name, run in candidates.items() if shutil.which(run[0][0])}


def measure(arguments, text):
    """Seconds and peak MiB of one run."""
    start = time.perf_counter()
    process = subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if text:
        process.stdin.write(text.encode())
    process.stdin.close()
    _, _, usage = os.wait4(process.pid, 0)
    process.returncode = 0
    return time.perf_counter() - start, usage.ru_maxrss / 1024


def drop_caches():
    os.sync()
    pathlib.Path("/proc/sys/vm/drop_caches").write_text("3")


def compare(tree, runs, rounds, cold):
    seconds = {name: [] for name in runs}
    peaks = {name: 0 for name in runs}
    for turn in range(rounds + 1):
        for name, (arguments, text) in runs.items():
            if cold:
                drop_caches()
            took, peak = measure(arguments, text)
            if turn > 0 or cold:  # the first warm round fills the caches
                seconds[name].append(took)
            peaks[name] = max(peaks[name], peak)
    floor = statistics.median(seconds["floor"])
    print(f"\n### {tree}{', cold' if cold else ''}\n\n| program | median s | ratio to floor | peak MiB |\n| --- | --- | --- | --- |")
    for name, values in seconds.items():
        median = statistics.median(values)
        print(f"| {name} | {median:.3f} | {median / floor:.2f} | {peaks[name]:.0f} |", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", type=pathlib.Path, required=True)
    parser.add_argument("--trees", type=pathlib.Path, default=pathlib.Path("build/trees"))
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", choices=list(TREES))
    parser.add_argument("--cold", action="store_true")
    options = parser.parse_args()
    for tree, (kind, count) in TREES.items():
        if options.only in (None, tree):
            root = options.trees.resolve() / tree.replace(" ", "-")
            home = make_tree(options.bin / "gentree", root, kind, count)
            compare(tree, programs(options.bin, root, home), options.rounds, options.cold)


if __name__ == "__main__":
    main()
