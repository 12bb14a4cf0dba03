#!/usr/bin/env python3
"""Runs every command on a sample volume with two programs and compares what they print, byte for byte.

  compare.py NATIVE VOLUME OTHER...

OTHER is the second program with what runs it. Each command of the table runs as text and, where it takes it, as JSON; the
exit code, the output and the errors must be the same. A time of day is the one thing that may differ: the two runs are not
at the same moment.
"""
import json
import os
import pathlib
import re
import subprocess
import sys

TIMES = re.compile(rb'("(?:inspectedAt|generatedAt|createdAt)": ?)("[^"]*"|[0-9.]+)')
ROOT = pathlib.Path(__file__).resolve().parents[2]
HOME = "/Users/ann"
# A moving figure, such as the free space of the disk that other programs write to, is equal in one of these attempts.
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
# They write files or answer requests, which `main` sends; their help is compared.
HELP_ONLY = ("sample", "report", "rpc", "help")
PLAIN = ("manual", "completions")  # no JSON


def apps(native, volume):
    listed = subprocess.run([native, "--volume", volume, "--home", HOME, "apps", "--json"], capture_output=True, check=True)
    found = json.loads(listed.stdout)["apps"]
    return [app.get("bundleID") or app["name"] for app in found] + ["no such app"]


def commands(native, volume):
    """The arguments of every run, from the program's own list of commands."""
    pages = os.listdir(ROOT / "docs/commands")
    inspected = apps(native, volume)
    for name in sorted(page.removesuffix(".md") for page in pages if page != "README.md"):
        yield ["help", name]
        for arguments in [] if name in HELP_ONLY else ARGUMENTS.get(name, [[]]):
            for app in inspected if "APP" in arguments else [""]:
                words = [name, *(app if word == "APP" else word for word in arguments)]
                yield words
                if name not in PLAIN:
                    yield [*words, "--json"]
    yield from (["rpc", "--describe"], ["--version"], ["nonsense"], [])


def run(program, words, volume, requests=b""):
    environment = {"LC_ALL": "C", "PATH": "/usr/bin:/bin", "HOME": "/root", "QUARN_CONFIG": "", "TZ": "UTC"}
    done = subprocess.run([*program, "--volume", volume, "--home", HOME, *words], input=requests, capture_output=True,
                          env=environment, check=False)
    return done.returncode, TIMES.sub(rb"\1null", done.stdout), done.stderr


def rpc_requests():
    """One request for each method: those of the tests of `quarn rpc`, whose homes and apps the sample volume need not have."""
    for index, file in enumerate(sorted((ROOT / "tests/quarn/rpc/golden").glob("*.json"))):
        request = json.loads(file.read_text(encoding="utf-8"))["request"]
        yield json.dumps({**request, "id": index}).encode() + b"\n"


def main(native, volume, *other):
    native, volume = os.path.realpath(native), os.path.realpath(volume)
    runs = differences = 0
    for words, requests in [*((words, b"") for words in commands(native, volume)), *((["rpc"], request) for request in rpc_requests())]:
        runs += 1
        for _ in range(ATTEMPTS):
            expected = run([native], words, volume, requests)
            found = run(list(other), words, volume, requests)
            if expected == found:
                break
        if expected == found:
            continue
        differences += 1
        print(f"compare.py: {' '.join(words)} {requests.decode()[:100]}:", file=sys.stderr)
        for what, left, right in zip(("exit code", "output", "errors"), expected, found):
            if left != right:
                print(f"  {what}: {left!r:.300}\n      and: {right!r:.300}", file=sys.stderr)
    print(f"{runs} commands compared, {differences} differ")
    return 1 if differences or runs < 150 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
