"""Compares our commands with the bare system calls and with other tools. Prints Markdown tables.

Usage: side_by_side.py --bin DIR [--trees DIR] [--groups G…] [--only TREE] [--rounds N] [--shrink N] [--save FILE | --check FILE]

Groups: inner (microbenchmarks), walk (the trees with warm caches), cold (the 200k tree with cold caches; root only),
disk (the same on a disk of its own, beside a reader of the bare blocks; root only),
growth (time per file and peak memory at 10k, 100k, 1M files), empty (a process that finds nothing), apps (a volume with
many apps), allapps (all apps at once: the map of ownership and all inspections), latency (one to 16 threads on a file system
that answers each call late), scans (scans in files: writing, comparing, answers). The floor is the bare system calls on two
threads (benchmarks/floor/floor.cc); a ratio is the median of those of the single runs. Machines are noisy; compare only ratios
within one run.

--save writes the ratios of the run to FILE. --check compares the ratios with those in FILE, names each that is larger by more
than 0.08, and ends with 1 if there is one.
"""

import argparse
import contextlib
import datetime
import json
import os
import pathlib
import platform
import re
import shlex
import shutil
import statistics
import subprocess
import sys

import apps_volume
import scans_group
from measuring import Count, Measurer, Program, Run, print_table

HOME = "/Users/ann"
TREES = {
    "home 200k": ("home", 200_000),
    "home 1M": ("home", 1_000_000),
    "flat 500k": ("flat", 500_000),
    "chain 2000": ("chain", 2_000),
}
GROUPS = ["inner", "walk", "cold", "disk", "growth", "empty", "apps", "allapps", "latency", "scans"]
LARGEST_LOSS = 0.08
THREADS = ("1", "2", "4", "8", "16", "the library's")
NO_LIMIT = 1_000_000_000

INSPECTION = {
    "includeHeuristicSearch": True, "heuristicMaxDepth": 3, "heuristicMaxResults": 200,
    "includeDocumentsHeuristicSearch": True, "documentsHeuristicMaxDepth": 3, "documentsHeuristicMaxResults": 200,
    "includeVendorHeuristics": True, "includeSystemArtifacts": True, "includeSystemHeuristicSearch": True,
    "includeGroupContainers": True, "includeLaunchd": True, "includeReceipts": True, "includeKernelExtensions": True,
    "computeArtifactSizes": False,
}
# The folders that this inspection searches by name.
SEARCHED = [f"{HOME}/Library/Application Support", f"{HOME}/Library/Caches", f"{HOME}/Library/Logs",
            f"{HOME}/Library/HTTPStorages", f"{HOME}/Documents", "/Library/Application Support", "/Library/Caches", "/Library/Logs"]


class Volume:
    """A tree in the home folder of a volume. Creates the tree if it is missing."""

    def __init__(self, options, name, kind, count):
        self.root = options.trees.resolve() / name.replace(" ", "-")
        self.home = self.root / HOME.lstrip("/")
        self.files = count // options.shrink
        self.quarn = [str(options.bin / "quarn"), "--volume", str(self.root), "--home", HOME]
        if not (self.root / ".complete").exists():
            shutil.rmtree(self.root, ignore_errors=True)
            self.home.mkdir(parents=True)
            self.fill(options, kind)
            (self.root / ".complete").touch()

    def fill(self, options, kind):
        if kind.startswith("apps"):
            apps_volume.write_volume(self.root, int(kind.split()[1]) // options.shrink, self.files)
        elif kind != "empty":
            # Every item directly in the home folder is a scan root. Use a subfolder, so that there is only one.
            folder = self.home / "Downloads" if kind == "flat" else self.home
            subprocess.run([options.bin / "gentree", kind, folder, str(self.files)], check=True, stdout=subprocess.DEVNULL)

    def rpc(self, *calls, options=()):
        """A run of `quarn rpc` with these calls, each a pair (method, params)."""
        lines = [json.dumps({"jsonrpc": "2.0", "id": number, "method": method, "params": params}) + "\n"
                 for number, (method, params) in enumerate(calls)]
        return Run([*self.quarn, *options, "rpc"], "".join(lines))


def result(output):
    answer = json.loads(output)
    if "result" not in answer:
        raise SystemExit(f"refused: {output[:500]}")
    return answer["result"]


def printed_bytes(output):
    return int(re.search(r"logical=(\d+)", output).group(1))


def exported_bytes(output):
    """The total length of the regular files in an export of ncdu or gdu. The entry of a folder begins with "["."""
    entries = re.findall(r'(\[?)\{"name":"(?:[^"\\]|\\.)*"([^}]*)\}', output)
    return sum(int(re.search(r'"asize":(\d+)', facts).group(1)) for folder, facts in entries
               if not folder and "asize" in facts and "notreg" not in facts)


def ours(options, volume, kind):
    walk, home = str(options.bin / "walk"), str(volume.home)
    bounds = {"in": [HOME], "maxDepth": NO_LIMIT, "maxVisited": NO_LIMIT, "allowSlowForPackages": False}

    def top(limit):
        return volume.rpc(("TopItemsService.topFilesRecursively",
                           bounds | {"limit": limit, "includeHidden": True, "preferAllocatedSize": False}))

    def counted(name, run, bytes_of):
        return Program(name, run, Count(run, bytes_of))

    cloud = volume.rpc(("TopItemsService.cloudSummary", bounds))
    home_size = ("FileSizeCalculator.itemSize", {"at": HOME, "allowSlow": True, "includeHidden": True})
    partitioned_scan = ("StorageDashboardService.calculatePartitionedCategorySizes", {})
    every_visible_file = Count(cloud, lambda output: result(output)["logicalBytes"])
    every_file = Count(top(2 * volume.files), lambda output: sum(item["size"]["logicalBytes"] for item in result(output)))
    return [
        counted("quarn: size", Run([walk, "size", home]), printed_bytes),
        counted("quarn: itemSize (rpc)", volume.rpc(home_size), lambda output: result(output)["logicalBytes"]),
        Program("quarn: itemSize (rpc --no-sandbox)", volume.rpc(home_size, options=["--no-sandbox"])),
        counted("quarn: ordered, with sizes", Run([walk, "ordered", home]), printed_bytes),
        counted("quarn: partitioned scan (rpc)", volume.rpc(partitioned_scan),
                lambda output: sum(size["logicalBytes"] for size in result(output).values())),
        Program("quarn: partitioned scan (rpc --no-sandbox)", volume.rpc(partitioned_scan, options=["--no-sandbox"])),
        Program("quarn: topFilesRecursively (rpc)", top(20), every_file if kind == "chain" else None),
        Program("quarn top", Run([*volume.quarn, "top", HOME])),
        Program("quarn: cloudSummary (rpc)", cloud, every_visible_file if kind == "chain" else None),
    ]


def floor(options, volume):
    program, home = str(options.bin / "floor"), str(volume.home)
    return Program("floor", Run([program, "b", home]), Count(Run([program, "b", home, "regular=1"]), printed_bytes))


def others(volume):
    home = str(volume.home)
    programs = [
        Program("du -s", Run(["du", "-s", home]), Count(Run(["du", "-sl", "-B1", home]), lambda output: int(output.split()[0]), True)),
        Program("gdu -npc", Run(["gdu", "-npc", home]), Count(Run(["gdu", "-npo", "/dev/stdout", home]), exported_bytes)),
        Program("ncdu -0xo", Run(["ncdu", "-0xo", "/dev/null", home]), Count(Run(["ncdu", "-0xo", "-", home]), exported_bytes)),
        Program("bfs -printf %s", Run(["bfs", home, "-printf", "%s\\n"]),
                Count(Run(["bfs", home, "-type", "f", "-printf", "%s\\n"]), lambda output: sum(map(int, output.split())))),
    ]
    return [program for program in programs if shutil.which(program.run.arguments[0])]


def found(measurer, programs, expected):
    """Maps a program's name to the share of the tree's bytes that it reports."""
    texts = {}
    for program in programs:
        if program.count:
            count, whole = program.count.bytes_of(measurer.output(program.count.run)), expected[program.count.with_folders]
            texts[program.name] = "all" if count == whole else f"{count} of {whole} ({100 * count / whole:.1f} %)"
    return texts


def walk(options, measurer):
    for tree in TREES:
        if options.only in (None, tree):
            walk_tree(options, measurer, tree)


def walk_tree(options, measurer, tree):
    kind, count = TREES[tree]
    volume = Volume(options, tree, kind, count)
    our_programs, base = ours(options, volume, kind), floor(options, volume)
    programs = [base, *our_programs, *others(volume)]
    took = measurer.alternately(programs, options.rounds)
    whole = measurer.output(Run([*base.run.arguments, "dirs=1"]))
    expected = {False: printed_bytes(measurer.output(base.count.run)), True: int(re.search(r"alloc=(\d+)", whole).group(1))}
    # Tools that count hard links once correctly report other totals, so compare them on the chain only.
    counted = found(measurer, programs if kind == "chain" else our_programs, expected)
    print_ratios(f"{tree}, warm", took, counted)


ratios = {}  # of all tables of this run: title and program to the ratio


def print_ratios(title, took, counted=None):
    ratios.update({f"{title}: {name}": round(taken.ratio, 3)
                   for name, taken in took.items() if name == "floor" or name.startswith("quarn")})
    rows = []
    for name, taken in took.items():
        row = [name, f"{taken.seconds:.3f}", f"{taken.ratio:.2f}", f"{taken.mebibytes:.1f}"]
        rows.append(row if counted is None else [*row, counted.get(name, "")])
    print_table(title, ["program", "median s", "ratio to floor", "peak MiB", *([] if counted is None else ["bytes found"])], rows)


def cold(options, measurer):
    if os.geteuid() != 0:
        print("\nCold runs need root; skipped.")
        return
    volume = Volume(options, "home 200k", *TREES["home 200k"])
    programs = [floor(options, volume), *ours(options, volume, "home"), *others(volume)]
    print_ratios("home 200k, cold", measurer.alternately(programs, min(options.rounds, 3), cold=True))


@contextlib.contextmanager
def mounted_image(options, gigabytes):
    """A new ext4 in a file, mounted past the host's caches. Gives the folder and the device."""
    image, folder = options.trees.resolve() / "disk.img", options.trees.resolve() / "disk"
    folder.mkdir(parents=True, exist_ok=True)
    device = None
    try:
        with image.open("wb") as file:
            file.truncate(gigabytes << 30)
        subprocess.run(["mkfs.ext4", "-q", "-E", "lazy_itable_init=0,lazy_journal_init=0", image], check=True)
        device = subprocess.run(["losetup", "--direct-io=on", "--find", "--show", image], check=True, capture_output=True,
                                text=True).stdout.strip()
        subprocess.run(["mount", device, folder], check=True)
        yield folder, device
    finally:
        subprocess.run(["umount", "-q", folder], check=False)
        if device:
            subprocess.run(["losetup", "--detach", device], check=False)
        image.unlink(missing_ok=True)


def disk(options, measurer):
    """What the disk itself allows: the blocks that hold the items, read in their order on the disk."""
    if os.geteuid() != 0:
        print("\nA disk of its own needs root; skipped.")
        return
    with mounted_image(options, 8) as (folder, device):
        volume = Volume(argparse.Namespace(**{**vars(options), "trees": folder}), "home 200k", *TREES["home 200k"])
        program, ranges = str(options.bin / "disk"), options.trees.resolve() / "disk.ranges"
        ranges.write_text(measurer.output(Run([program, "list", str(volume.home), device])))
        programs = [floor(options, volume), *ours(options, volume, "home"),
                    *(Program(f"the disk's blocks in order, {threads} at a time",
                              Run([program, "read", device, str(ranges), f"threads={threads}"])) for threads in (1, 2, 8))]
        print_ratios("home 200k on a disk of its own, cold", measurer.alternately(programs, min(options.rounds, 3), cold=True))
        print(measurer.output(programs[-1].run), end="")


def growth(options, measurer):
    times, peaks, sizes = {}, {}, [10_000, 100_000, 1_000_000]
    for files in sizes:
        name = "home 1M" if files == 1_000_000 else f"home {files // 1000}k"
        volume = Volume(options, name, "home", files)
        for name, taken in measurer.alternately([floor(options, volume), *ours(options, volume, "home")],
                                                max(2, min(options.rounds, 1_000_000 // files))).items():
            times.setdefault(name, []).append(f"{taken.seconds * 1e6 / volume.files:.2f}")
            peaks.setdefault(name, []).append(f"{taken.mebibytes:.1f}")
    columns = ["program", *(f"µs a file, {files // 1000}k" for files in sizes), *(f"MiB, {files // 1000}k" for files in sizes)]
    print_table("Growth: home trees of 10k, 100k, 1M files, warm", columns, [[name, *times[name], *peaks[name]] for name in times])


def empty(options, measurer):
    volume = Volume(options, "empty", "empty", 0)
    programs = [floor(options, volume), *ours(options, volume, "empty"),
                Program("quarn rpc, no request", volume.rpc()), *others(volume)]
    took = measurer.alternately(programs, 4 * options.rounds)
    print_table("An empty home folder: fixed costs", ["program", "median ms", "peak MiB"],
                [[name, f"{taken.seconds * 1e3:.2f}", f"{taken.mebibytes:.1f}"] for name, taken in took.items()])


def apps(options, measurer):
    volume = Volume(options, "apps", "apps 1000", 300_000)
    discovery = volume.rpc(("AppsService.discoverApps", {}))
    found_apps = result(measurer.output(discovery))
    one = ("AppInspectionService.inspect", {"app": found_apps[len(found_apps) // 2], "options": INSPECTION})
    folders = [str(volume.root) + folder for folder in SEARCHED if (volume.root / folder.lstrip("/")).is_dir()]
    took = measurer.alternately([
        Program("floor", Run([str(options.bin / "floor"), "d2", *folders, "depth=3"])),
        Program("find -maxdepth 3", Run(["find", *folders, "-maxdepth", "3", "-name", "nothing"])),
        Program("quarn rpc, no request", volume.rpc()),
        Program("quarn: inspect one app (rpc)", volume.rpc(one)),
        Program("quarn: inspect it 11 times (rpc)", volume.rpc(*[one] * 11)),
        Program("quarn: discoverApps (rpc)", discovery),
    ], options.rounds)
    print_ratios(f"{len(found_apps)} apps, {volume.files} entries in ~/Library; floor and find: names to depth 3", took)
    again = (took["quarn: inspect it 11 times (rpc)"].seconds - took["quarn: inspect one app (rpc)"].seconds) / 10
    print(f"One inspection in a running process: {again * 1e3:.1f} ms, {again / took['floor'].seconds:.2f} times the floor, "
          f"{again / took['find -maxdepth 3'].seconds:.2f} times find.")
    if options.inspect:
        chosen = found_apps[:options.inspect]
        seconds, peak = measurer.once(volume.rpc(*(("AppInspectionService.inspect", {"app": app, "options": INSPECTION}) for app in chosen)))
        print(f"{len(chosen)} apps inspected one by one by one process: {seconds:.1f} s, {seconds / len(chosen) * 1e3:.1f} ms an app, peak {peak:.1f} MiB.")


def allapps(options, measurer):
    """The same number of items with more and more apps: the time must grow with items plus apps, not with their product."""
    for count in (100, 1_000, 4_000):
        volume = Volume(options, f"apps-{count}" if count != 1_000 else "apps", f"apps {count}", 300_000)
        found_apps = result(measurer.output(volume.rpc(("AppsService.discoverApps", {}))))
        owner = ("OwnershipService.owners", {"urls": [f"{HOME}/Library/Caches"], "apps": found_apps})
        folders = [str(volume.root) + folder for folder in SEARCHED if (volume.root / folder.lstrip("/")).is_dir()]
        took = measurer.alternately([
            Program("floor", Run([str(options.bin / "floor"), "d2", *folders, "depth=3"])),
            Program("quarn: the map of ownership (rpc)", volume.rpc(owner)),
            Program("quarn leftovers", Run([*volume.quarn, "leftovers"])),
            Program("quarn inspect --all --no-sizes", Run([*volume.quarn, "inspect", "--all", "--no-sizes", "--ndjson"])),
        ], options.rounds)
        print_ratios(f"{len(found_apps)} apps at once, {volume.files} entries in ~/Library; floor: names to depth 3", took)


def latency(options, measurer):
    """Each call of the walk waits before it is made, as on a network or a spinning disk. The tree is small: one thread makes
    all the waits one after the other."""
    volume = Volume(options, "home 20k", "home", 20_000)
    library = str(options.bin.parent / "lib" / "libquarn_latency.so")
    for microseconds in (50, 500):
        rows = []
        for what in ("size", "ordered"):
            first = None
            for threads in THREADS:
                late = Run(["env", f"LD_PRELOAD={library}", f"QUARN_LATENCY_MICROSECONDS={microseconds}",
                            str(options.bin / "walk"), what, str(volume.home), *([threads] if threads.isdigit() else [])])
                runs = [measurer.once(late) for _ in range(min(options.rounds, 3))]
                seconds, peak = statistics.median(seconds for seconds, _ in runs), max(peak for _, peak in runs)
                first = first or seconds
                rows.append([what, threads, f"{seconds:.2f}", f"{first / seconds:.1f}", f"{peak:.1f}"])
        print_table(f"{volume.files} files, {microseconds} µs before each call",
                    ["walk", "threads", "median s", "times as fast", "peak MiB"], rows)


def scans(options, measurer):
    for tree in ("home 200k", "home 1M"):
        if options.only in (None, tree):
            volume = Volume(options, tree, *TREES[tree])
            scans_group.run(options, measurer, volume, floor(options, volume), print_ratios)


def inner(options, measurer):
    rows = []
    for program in sorted(options.bin.glob("*_benchmark")):
        report = json.loads(measurer.output(Run([str(program), "--benchmark_format=json", "--benchmark_min_time=0.1"])))
        for one in report["benchmarks"]:
            rows.append([program.name.removesuffix("_benchmark"), one["name"], f"{float(format(one['real_time'], '.3g')):,g} {one['time_unit']}"])
    print_table("Microbenchmarks", ["subject", "function", "per call"], rows)


def print_header():
    """Date, machine and the command that repeats the run, without the folders of programs and trees."""
    words = re.sub(r"--(bin|trees)[ =]\S+ ?", "", shlex.join(sys.argv[1:])).strip()
    command = f'make bench BENCH="{words}"' if words else "make bench"
    print(f"Measured {datetime.date.today()} with `{command}`: {os.cpu_count()} cores, {platform.system()} {platform.release()}.")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", type=pathlib.Path, required=True, help="folder of the programs")
    parser.add_argument("--trees", type=pathlib.Path, default=pathlib.Path("build/trees"), help="folder of the trees")
    parser.add_argument("--groups", nargs="+", choices=GROUPS, default=GROUPS)
    parser.add_argument("--only", choices=list(TREES), help="run the groups walk and scans on this tree only")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--inspect", type=int, help="also inspect so many apps one by one (group apps)")
    parser.add_argument("--shrink", type=int, default=1, help="divide the size of the trees by this; use another --trees folder")
    parser.add_argument("--save", type=pathlib.Path, help="write the ratios to this file")
    parser.add_argument("--check", type=pathlib.Path, help="compare the ratios with those of this file")
    options = parser.parse_args()
    if options.check and not options.check.exists():
        parser.error(f"{options.check} is missing; `make bench-save` writes it")
    measurer = Measurer(options.bin / "measure")
    print_header()
    for group in options.groups:
        globals()[group](options, measurer)
    if options.save:
        options.save.write_text(json.dumps(ratios, indent=2, ensure_ascii=False) + "\n", encoding="utf-8")
    if options.check:
        sys.exit(compare(json.loads(options.check.read_text(encoding="utf-8"))))


def compare(before):
    """Prints what got slower. 1 if something did, or if the two runs have no ratio in common."""
    common = [name for name in ratios if name in before]
    slower = [name for name in common if ratios[name] > before[name] + LARGEST_LOSS]
    print(f"\n{len(common)} ratios compared, {len(slower)} are larger by more than {LARGEST_LOSS}")
    for name in slower:
        print(f"  {name}: {before[name]:.2f} before, {ratios[name]:.2f} now")
    return 1 if slower or not common else 0


if __name__ == "__main__":
    main()
