"""The group `scans` of side_by_side.py: scans that are kept in files."""

import contextlib
import pathlib
import shutil

from measuring import Program, Run, print_table

CHANGED_FOLDERS = 20
CHANGED_BYTES = 2_000_000


@contextlib.contextmanager
def changed(volume):
    """Adds files to some folders of the volume for a while."""
    folders = [volume.home / f"bench change {i}" for i in range(CHANGED_FOLDERS)]
    try:
        for folder in folders:
            folder.mkdir(exist_ok=True)
            (folder / "grown").write_bytes(b"x" * CHANGED_BYTES)
        yield
    finally:
        for folder in folders:
            shutil.rmtree(folder, ignore_errors=True)


def write(options, measurer, volume, folder, floor, print_ratios):
    """Scanning with writing, beside the floor. Returns the two scans to compare."""
    old, new = str(folder / "old.quarn"), str(folder / "new.quarn")
    took = measurer.alternately([
        floor,
        Program("quarn: partitioned scan (rpc)", volume.rpc(("StorageDashboardService.calculatePartitionedCategorySizes", {}))),
        Program("quarn scan", Run([*volume.quarn, "scan", "-o", old])),
        Program("quarn scan --no-sandbox", Run([*volume.quarn, "--no-sandbox", "scan", "-o", old])),
    ], options.rounds)
    with changed(volume):
        measurer.once(Run([*volume.quarn, "scan", "-o", new]))
    size = pathlib.Path(old).stat().st_size
    print_ratios(f"{volume.root.name}: scanning with writing, warm", took)
    print(f"The file has {size:,} bytes: {size / volume.files:.1f} for each file of the volume.")
    return old, new


def read(options, measurer, volume, old, new):
    quarn = volume.quarn[0]
    answers = [["apps", "--sizes"], ["storage"], ["storage", "documents"], ["top"], ["top", "/", "--limit", "1000"], ["top", "/", "--children"],
               ["leftovers", "--size"], ["inspect", "--all"], ["report", "-o", "-"]]
    took = measurer.alternately([
        Program("quarn --version (a process that does nothing)", Run([quarn, "--version"])),
        Program("quarn diff", Run([quarn, "diff", old, new])),
        Program("quarn report --since", Run([quarn, "report", "--scan", new, "--since", old, "-o", "-"])),
        *(Program(f"quarn {' '.join(words)} --scan", Run([quarn, *words, "--scan", old])) for words in answers),
    ], 2 * options.rounds)
    print_table(f"{volume.root.name}: answers from the file", ["program", "median ms", "peak MiB"],
                [[name, f"{taken.seconds * 1e3:.1f}", f"{taken.mebibytes:.1f}"] for name, taken in took.items()])


def run(options, measurer, volume, floor, print_ratios):
    folder = options.trees.resolve() / "scans"
    folder.mkdir(exist_ok=True)
    old, new = write(options, measurer, volume, folder, floor, print_ratios)
    read(options, measurer, volume, old, new)
