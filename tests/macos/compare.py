#!/usr/bin/env python3
"""Runs every command on a sample volume with two programs and compares what they print, byte for byte.

  compare.py NATIVE VOLUME OTHER...

OTHER is the second program with what runs it. Each command of the table runs as text and, where it takes it, as JSON; the
exit code, the output and the errors must be the same. Then both keep scans, a folder of VOLUME grows, and what the scans
answer, the tables that they export and the reports must be the same. The time of day may differ, and the disk's free bytes a
little: the two runs are not at the same moment.
"""
import csv
import io
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TIMES = re.compile(rb'("(?:inspectedAt|generatedAt|createdAt|inspected_at|started_at|finished_at|free_bytes)": ?)("[^"]*"|[0-9.]+)')
FREE_BYTES = re.compile(rb'("freeBytes": ?)([0-9]+)')
MOMENT = re.compile(rb"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")
ROOT = pathlib.Path(__file__).resolve().parents[2]
HOME = "/Users/ann"
# A moving figure is equal in one of these attempts.
ATTEMPTS = 5
MODES = ("cacheOnly", "associatedDataOnly", "removeApp", "aggressive")
CATEGORIES = ("apps", "documents", "photos", "communication", "games", "development", "systemData", "other", "free")
# What a command is run with besides its bare name; APP stands for each app of the volume, and for one that is not there.
ARGUMENTS = {
    "completions": [["bash"], ["zsh"], ["fish"]],
    "inspect": [["APP"]],
    "leftovers": [[], ["--size"]],
    "owner": [["~/Library/Application Support/Lumen Notes"], ["/Library"], ["/missing"]],
    "plan": [["APP"], *(["Lumen Notes", "--mode", mode] for mode in MODES)],
    "storage": [[], *([category] for category in CATEGORIES)],
    "top": [[], ["--limit", "100"], ["/Library"], ["/missing"]],
    "vendors": [[], ["--match", "Slack"]],
}
# They write files, need a terminal or answer requests; `main` compares scans and requests by themselves.
HELP_ONLY = ("sample", "report", "rpc", "help", "scan", "diff", "browse")
# Answered from a scan as well.
FROM_SCANS = ("apps", "inspect", "leftovers", "owner", "storage", "top", "tree")
GROWN = "Users/ann/Library/Application Support/Lumen Notes/grown"
GROWN_BYTES = 3_000_000
MOVING_COLUMNS = ("inspected_at", "started_at", "finished_at", "free_bytes")
FEWEST_RUNS = 300
PLAIN = ("manual", "completions")  # no JSON


def apps(native, volume):
    listed = subprocess.run([native, "--volume", volume, "--home", HOME, "apps", "--json"], capture_output=True, check=True)
    found = json.loads(listed.stdout)["apps"]
    return [app.get("bundleID") or app["name"] for app in found] + ["no such app"]


def runs_of(name, inspected):
    """The words of each run of a command: as text and, where it takes it, as JSON."""
    for arguments in [] if name in HELP_ONLY else ARGUMENTS.get(name, [[]]):
        for app in inspected if "APP" in arguments else [""]:
            words = [name, *(app if word == "APP" else word for word in arguments)]
            yield words
            if name not in PLAIN:
                yield [*words, "--json"]


def commands(inspected):
    """The arguments of every run, from the pages of the commands."""
    pages = os.listdir(ROOT / "docs/commands")
    for name in sorted(page.removesuffix(".md") for page in pages if page != "README.md"):
        yield ["help", name]
        yield from runs_of(name, inspected)
    yield from (["rpc", "--describe"], ["--version"], ["nonsense"], [])


def rpc_requests():
    """One request for each method: those of the tests of `quarn rpc`, whose homes and apps the sample volume need not have."""
    for index, file in enumerate(sorted((ROOT / "tests/quarn/rpc/golden").glob("*.json"))):
        request = json.loads(file.read_text(encoding="utf-8"))["request"]
        yield json.dumps({**request, "id": index}).encode() + b"\n"


def without_moments(output):
    """Without times of day, and the disk's free bytes in whole gigabytes, because other programs write to it."""
    output = FREE_BYTES.sub(lambda found: found[1] + str(int(found[2]) // 10**9).encode(), output)
    return MOMENT.sub(b"MOMENT", TIMES.sub(rb"\1null", output))


def run(program, words, folder, requests=b""):
    environment = {"LC_ALL": "C", "PATH": "/usr/bin:/bin", "HOME": "/root", "QUARN_CONFIG": "", "TZ": "UTC"}
    done = subprocess.run([*program, *words], input=requests, capture_output=True, env=environment, cwd=folder, check=False)
    return done.returncode, without_moments(done.stdout), done.stderr


def content_of(file):
    """What two runs must agree on in a written file."""
    content = file.read_bytes()
    if file.suffix != ".csv":
        return without_moments(content)
    rows = list(csv.DictReader(io.StringIO(content.decode(errors="surrogateescape"))))
    return [{name: value for name, value in row.items() if name not in MOVING_COLUMNS} for row in rows]


class Comparison:
    """Two programs, each with a folder of its own in which it runs."""

    def __init__(self, native, other, scratch):
        self.programs = {"native": native, "other": other}
        self.folders = {name: scratch / name for name in self.programs}
        for folder in self.folders.values():
            folder.mkdir()
        self.runs = self.differences = 0

    def compare(self, words, requests=b"", expected_code=None):
        self.runs += 1
        for _ in range(ATTEMPTS):
            native, other = (run(program, words, self.folders[name], requests) for name, program in self.programs.items())
            if native == other:
                break
        what = f"{' '.join(words)} {requests.decode()[:100]}"
        for part, left, right in zip(("exit code", "output", "errors"), native, other):
            self.report(left == right, f"{what}: {part}: {left!r:.400}\n      and: {right!r:.400}")
        if expected_code is not None:
            self.report(native[0] == expected_code, f"{what}: ended with {native[0]}: {native[2]!r:.400}")

    def compare_files(self, pattern, fewest):
        """The files that both wrote."""
        self.runs += 1
        left, right = ({file.relative_to(folder): file for file in folder.glob(pattern)} for folder in self.folders.values())
        self.report(left.keys() == right.keys() and len(left) >= fewest, f"{pattern}: {sorted(left)} and {sorted(right)}")
        for name in left.keys() & right.keys():
            self.report(content_of(left[name]) == content_of(right[name]), f"{name} differs")

    def report(self, is_equal, message):
        if not is_equal:
            self.differences += 1
            print(f"compare.py: {message}", file=sys.stderr)

    def same_scans(self):
        """That each program finds no difference between its scan and the other's."""
        for name, peer in (("native", "other"), ("other", "native")):
            self.runs += 1
            words = ["diff", "monday.quarn", self.folders[peer] / "monday.quarn", "--min-size", "0", "--exit-code"]
            code, output, errors = run(self.programs[name], words, self.folders[name])
            self.report(code == 0, f"{name}'s scan differs from {peer}'s: {output!r:.400} {errors!r:.400}")


def compare_scans(comparison, volume, inspected):
    on_volume = ["--volume", volume, "--home", HOME]
    pathlib.Path(volume, GROWN).unlink(missing_ok=True)
    comparison.compare([*on_volume, "scan", "-o", "monday.quarn", "--export", "tables"], expected_code=0)
    comparison.compare_files("tables/*", 40)
    comparison.same_scans()
    for name in FROM_SCANS:
        for words in runs_of(name, inspected):
            comparison.compare([*words, "--scan", "monday.quarn"])
    pathlib.Path(volume, GROWN).write_bytes(bytes(GROWN_BYTES))
    comparison.compare([*on_volume, "scan", "-o", "friday.quarn", "--json"], expected_code=0)
    for words in ([], ["--json"], ["--min-size", "0"]):
        comparison.compare(["diff", "monday.quarn", "friday.quarn", *words], expected_code=0)
    comparison.compare(["diff", "monday.quarn", "friday.quarn", "--exit-code"], expected_code=1)
    comparison.compare(["report", "--scan", "friday.quarn", "--since", "monday.quarn", "-o", "week.html"], expected_code=0)
    comparison.compare_files("week.html", 1)
    comparison.compare(["scan", "--scan", "friday.quarn", "--export", "again"], expected_code=0)
    comparison.compare_files("again/*", 40)


def main(native, volume, *other):
    native, volume = os.path.realpath(native), os.path.realpath(volume)
    inspected = apps(native, volume)
    with tempfile.TemporaryDirectory(prefix="quarn-compare-") as scratch:
        comparison = Comparison([native], [os.path.abspath(word) if "/" in word else word for word in other], pathlib.Path(scratch))
        on_volume = ["--volume", volume, "--home", HOME]
        for words in commands(inspected):
            comparison.compare([*on_volume, *words])
        for request in rpc_requests():
            comparison.compare([*on_volume, "rpc"], request)
        compare_scans(comparison, volume, inspected)
    print(f"{comparison.runs} runs compared, {comparison.differences} differences")
    return 1 if comparison.differences or comparison.runs < FEWEST_RUNS else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
