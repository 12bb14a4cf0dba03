"""Runs programs alternately and tells what each took; see side_by_side.py."""

import dataclasses
import os
import pathlib
import statistics
import subprocess
import tempfile
from collections.abc import Callable


@dataclasses.dataclass(frozen=True)
class Run:
    """A program, its arguments and what it reads from standard input."""

    arguments: list[str]
    text: str = ""


@dataclasses.dataclass(frozen=True)
class Count:
    """How a program is asked for the bytes that it finds: the run, what tells them from its output, and whether folders'
    own blocks are among them (then bytes on the disk are meant, else lengths)."""

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
    """Medians of several runs, and the most memory that any of them took."""

    seconds: float
    mebibytes: float


class Measurer:
    """Starts programs through a small one, so that a peak is the program's own and not that of what started it."""

    def __init__(self, launcher):
        self.launcher = str(launcher)
        self.folder = tempfile.TemporaryDirectory()

    def _file(self, name):
        return pathlib.Path(self.folder.name) / name

    def once(self, run, output=subprocess.DEVNULL):
        """Seconds and peak MiB of one run. A program that fails ends the measurement: its figure would say nothing."""
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
        """Name -> Taken. Warm, one round more fills the caches and does not count."""
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
