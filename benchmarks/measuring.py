"""Runs programs alternately and measures their time and memory; see side_by_side.py."""

import dataclasses
import os
import pathlib
import statistics
import subprocess
import tempfile
from collections.abc import Callable


@dataclasses.dataclass(frozen=True)
class Run:
    """A program, its arguments and its standard input."""

    arguments: list[str]
    text: str = ""


@dataclasses.dataclass(frozen=True)
class Count:
    """How to get the bytes that a program finds: the run, the parser of its output, and whether the blocks of folders
    are included (then the count is bytes on disk, else lengths)."""

    run: Run
    bytes_of: Callable[[str], int]
    with_folders: bool = False


@dataclasses.dataclass(frozen=True)
class Program:
    name: str
    run: Run
    count: Count | None = None


@dataclasses.dataclass(frozen=True)
class Taken:
    """Median time and maximum memory of several runs."""

    seconds: float
    mebibytes: float


class Measurer:
    """Starts programs through a small launcher, because the peak memory of a child includes that of its parent."""

    def __init__(self, launcher):
        self.launcher = str(launcher)
        self.folder = tempfile.TemporaryDirectory()

    def _file(self, name):
        return pathlib.Path(self.folder.name) / name

    def once(self, run, output=subprocess.DEVNULL):
        """Seconds and peak MiB of one run. Stops the measurement if the program fails."""
        self._file("input").write_text(run.text)
        with self._file("input").open() as given, self._file("errors").open("w+") as errors:
            subprocess.run([self.launcher, str(self._file("report")), *run.arguments], stdin=given, stdout=output, stderr=errors)
            seconds, peak, status = self._file("report").read_text().split()
            if status != "0":
                errors.seek(0)
                raise SystemExit(f"{' '.join(run.arguments)} ended with {status}: {errors.read()[:500]}")
        return float(seconds), int(peak) / 1024

    def output(self, run):
        with self._file("output").open("w") as output:
            self.once(run, output)
        return self._file("output").read_text(errors="replace")

    def alternately(self, programs, rounds, cold=False):
        """Maps names to Taken. For warm runs, an additional first round fills the caches and does not count."""
        took = {program.name: [] for program in programs}
        for turn in range(rounds + (not cold)):
            for program in programs:
                if cold:
                    drop_caches()
                taken = self.once(program.run)
                if cold or turn > 0:
                    took[program.name].append(taken)
        return {name: Taken(statistics.median(seconds for seconds, _ in runs), max(peak for _, peak in runs))
                for name, runs in took.items()}


def drop_caches():
    os.sync()
    pathlib.Path("/proc/sys/vm/drop_caches").write_text("3")


def print_table(title, columns, rows):
    print(f"\n### {title}\n\n| {' | '.join(columns)} |\n|{' --- |' * len(columns)}")
    for row in rows:
        print(f"| {' | '.join(row)} |")
    print(flush=True)
