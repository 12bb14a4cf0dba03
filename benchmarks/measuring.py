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
    """Median time and maximum memory of several runs, and how long they took beside the first program."""

    seconds: float
    mebibytes: float
    ratio: float


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
                taken = self._run(program, cold)
                if cold or turn > 0:
                    took[program.name].append(taken)
        first = [seconds for seconds, _ in took[programs[0].name]] + [self._run(programs[0], cold)[0]]
        return {name: Taken(statistics.median(seconds for seconds, _ in runs), max(peak for _, peak in runs),
                            ratio([seconds for seconds, _ in runs], first, place / len(programs)))
                for place, (name, runs) in enumerate(took.items())}

    def _run(self, program, cold):
        if cold:
            drop_caches()
        return self.once(program.run)


def ratio(runs, first, place):
    """The median of the ratios of runs to the first program, which ran at the start of each round and once at the end. A machine has
    fast and slow minutes, so a run at that place of its round (0 to 1) is compared with what the first program would have taken
    then: its runs before and after it, interpolated."""
    return statistics.median(seconds / (before + place * (after - before))
                             for seconds, before, after in zip(runs, first[:-1], first[1:], strict=True))


def drop_caches():
    os.sync()
    pathlib.Path("/proc/sys/vm/drop_caches").write_text("3")


def print_table(title, columns, rows):
    print(f"\n### {title}\n\n| {' | '.join(columns)} |\n|{' --- |' * len(columns)}")
    for row in rows:
        print(f"| {' | '.join(row)} |")
    print(flush=True)
